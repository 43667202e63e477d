# SPDX-License-Identifier: GPL-3.0-or-later
# What an installed Tarrafa brings besides the two programs (manual pages, shell completions,
# the icon in every size a desktop asks for, the package's documentation), and the Debian
# package made of it all: cpack -G DEB in a build folder, or scripts/pacote.
include(GNUInstallDirs)

set(TARRAFA_ID io.github.tarrafa.Tarrafa)
set(TARRAFA_MAINTAINER "The Tarrafa developers <tarrafa@users.noreply.github.com>")

# Manual pages, written once in scdoc and compressed as Debian keeps them (no timestamp in
# the gzip header, so that two builds give the same bytes).
find_program(TARRAFA_SCDOC scdoc)
find_program(TARRAFA_GZIP gzip REQUIRED)
if(TARRAFA_SCDOC)
    set(manuais)
    foreach(pagina tarrafa tarrafa-cli)
        set(saida ${PROJECT_BINARY_DIR}/manual/${pagina}.1.gz)
        add_custom_command(OUTPUT ${saida}
            COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/manual
            COMMAND sh -c "'${TARRAFA_SCDOC}' < '${PROJECT_SOURCE_DIR}/docs/man/${pagina}.1.scd' | '${TARRAFA_GZIP}' -9n > '${saida}'"
            DEPENDS ${PROJECT_SOURCE_DIR}/docs/man/${pagina}.1.scd
            COMMENT "Manual page ${pagina}(1)"
            VERBATIM)
        list(APPEND manuais ${saida})
    endforeach()
    add_custom_target(manuais ALL DEPENDS ${manuais})
    install(FILES ${manuais} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
else()
    message(STATUS "scdoc not found: the manual pages are not built (scripts/setup installs it)")
endif()

# The icon in the fixed sizes of the hicolor theme, drawn from the one SVG.
find_program(TARRAFA_RSVG rsvg-convert)
if(TARRAFA_RSVG)
    set(icones)
    foreach(lado 16 22 24 32 48 64 128 256 512)
        set(saida ${PROJECT_BINARY_DIR}/icones/${lado}x${lado}/${TARRAFA_ID}.png)
        add_custom_command(OUTPUT ${saida}
            COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/icones/${lado}x${lado}
            COMMAND ${TARRAFA_RSVG} -w ${lado} -h ${lado} -o ${saida}
                    ${PROJECT_SOURCE_DIR}/TarrafaApp/App/${TARRAFA_ID}.svg
            DEPENDS ${PROJECT_SOURCE_DIR}/TarrafaApp/App/${TARRAFA_ID}.svg
            COMMENT "Icon ${lado}x${lado}"
            VERBATIM)
        list(APPEND icones ${saida})
        install(FILES ${saida} DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/${lado}x${lado}/apps)
    endforeach()
    add_custom_target(icones ALL DEPENDS ${icones})
else()
    message(STATUS "rsvg-convert not found: only the scalable icon is installed (scripts/setup installs it)")
endif()

# Shell completions, where each shell looks for the ones packages bring.
set(completions ${PROJECT_SOURCE_DIR}/TarrafaCli/completions)
install(FILES ${completions}/tarrafa-cli.bash
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME tarrafa-cli)
install(FILES ${completions}/_tarrafa-cli DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions)
install(FILES ${completions}/tarrafa-cli.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)

# The package's own documentation: its licence, and its history in Debian's format.
configure_file(${PROJECT_SOURCE_DIR}/dist/debian/changelog.in ${PROJECT_BINARY_DIR}/pacote/changelog @ONLY)
add_custom_command(OUTPUT ${PROJECT_BINARY_DIR}/pacote/changelog.gz
    COMMAND sh -c "'${TARRAFA_GZIP}' -9n < '${PROJECT_BINARY_DIR}/pacote/changelog' > '${PROJECT_BINARY_DIR}/pacote/changelog.gz'"
    DEPENDS ${PROJECT_BINARY_DIR}/pacote/changelog
    VERBATIM)
add_custom_target(changelog ALL DEPENDS ${PROJECT_BINARY_DIR}/pacote/changelog.gz)
install(FILES ${PROJECT_SOURCE_DIR}/dist/debian/copyright ${PROJECT_BINARY_DIR}/pacote/changelog.gz
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/tarrafa)

# The Debian package.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tarrafa)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "The Tarrafa developers")
set(CPACK_PACKAGE_CONTACT ${TARRAFA_MAINTAINER})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${TARRAFA_MAINTAINER})
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE https://github.com/tarrafa/tarrafa)
# The libraries the two programs link, as dpkg-shlibdeps reads them from the binaries.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS OFF)
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "xdg-user-dirs")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "gvfs")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Downloads folder as an inbox")
# The extended description; CPack puts the summary above it and indents each line.
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "Tarrafa reads the top level of your Downloads folder, finds out where each
file came from (a web application, a SharePoint person or site, a plain web
host, the browsers' own download histories), groups the files by that origin
and marks each with why it may be clutter: never opened, a name that
identifies nothing, a copy, an installer already installed, a screenshot.

You decide file by file: postpone, resolve, ignore, reveal, or move to the
Trash after a confirmation. Nothing is ever deleted. tarrafa-cli gives the
same inbox to scripts and terminals.")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
include(CPack)
