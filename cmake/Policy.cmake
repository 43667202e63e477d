# SPDX-License-Identifier: GPL-3.0-or-later
# All build policy lives in one interface target that every target links.
add_library(tarrafa_policy INTERFACE)
target_compile_features(tarrafa_policy INTERFACE cxx_std_20)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
target_compile_options(tarrafa_policy INTERFACE
    -Wall -Wextra -Wpedantic -Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual
    -Wshadow -Wconversion -Wno-sign-conversion -Wimplicit-fallthrough)
target_compile_definitions(tarrafa_policy INTERFACE
    QT_NO_CAST_FROM_ASCII QT_NO_CONTEXTLESS_CONNECT QT_NO_KEYWORDS _FILE_OFFSET_BITS=64)
if(TARRAFA_WERROR)
    target_compile_options(tarrafa_policy INTERFACE -Werror)
endif()
