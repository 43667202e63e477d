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
# The hardening Debian builds its own packages with: checked string and memory functions where
# the optimiser can see the sizes, and the relocations made read-only before main().
target_compile_definitions(tarrafa_policy INTERFACE $<$<NOT:$<CONFIG:Debug>>:_FORTIFY_SOURCE=2>)
target_compile_options(tarrafa_policy INTERFACE -fstack-protector-strong)
target_link_options(tarrafa_policy INTERFACE -Wl,-z,relro -Wl,-z,now)
