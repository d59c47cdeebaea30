# The Debian package (tools/make_package.sh), laid out as Debian's chess engines are: the engine
# in /usr/games, its default settings and book in QUILLFERN_DATA_DIR, an xboard plugin file that
# puts it in xboard's engine list, a manual page, the licence and the Debian changelog. CPack's
# DEB generator builds it; dpkg-shlibdeps computes its dependencies.
set(QUILLFERN_MAINTAINER "quillfern developers <quillfern@example.org>")
set(QUILLFERN_PACKAGE_RELEASE 1)

cmake_path(IS_PREFIX CMAKE_INSTALL_PREFIX "${QUILLFERN_DATA_DIR}" NORMALIZE data_in_prefix)
if(NOT data_in_prefix)
    message(FATAL_ERROR "QUILLFERN_DATA_DIR must lie inside CMAKE_INSTALL_PREFIX")
endif()
cmake_path(RELATIVE_PATH QUILLFERN_DATA_DIR BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}"
           OUTPUT_VARIABLE data_destination)

# The changelog's latest entry must be this version: the package's version comes from project().
set(package_version ${PROJECT_VERSION}-${QUILLFERN_PACKAGE_RELEASE})
file(STRINGS package/changelog latest LIMIT_COUNT 1)
if(NOT latest MATCHES "^quillfern \\(${package_version}\\) ")
    message(FATAL_ERROR "package/changelog: the latest entry is not ${package_version}: ${latest}")
endif()

# Debian wants the manual page and the changelog compressed, without a time stamp inside; the
# copyright file in its machine-readable form, with the licence text from LICENSE.
set(staged ${CMAKE_BINARY_DIR}/package)
file(MAKE_DIRECTORY ${staged})
configure_file(package/quillfern.6.in ${staged}/quillfern.6 @ONLY) # the version, the data folder
configure_file(package/changelog ${staged}/changelog.Debian COPYONLY)
foreach(page quillfern.6 changelog.Debian)
    execute_process(COMMAND gzip -9nf ${staged}/${page} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
file(READ LICENSE licence)
if(NOT licence MATCHES "^MIT License\n\nCopyright \\(c\\) ([^\n]*)\n\n(.*)$")
    message(FATAL_ERROR "LICENSE: not the MIT licence with its copyright line")
endif()
set(holders "${CMAKE_MATCH_1}")
string(STRIP "${CMAKE_MATCH_2}" licence)
string(REPLACE "\n\n" "\n.\n" licence "${licence}")
string(REPLACE "\n" "\n " licence " ${licence}")
file(WRITE ${staged}/copyright
     "Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/\n"
     "Upstream-Name: quillfern\n"
     "Upstream-Contact: ${QUILLFERN_MAINTAINER}\n\n"
     "Files: *\nCopyright: ${holders}\nLicense: Expat\n${licence}\n")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS LICENSE)

install(TARGETS quillfern RUNTIME DESTINATION games)
install(FILES play/quillfern.ini play/book.bin DESTINATION ${data_destination})
install(FILES package/quillfern.eng DESTINATION share/games/plugins/xboard)
install(FILES ${staged}/quillfern.6.gz DESTINATION share/man/man6)
install(FILES ${staged}/copyright ${staged}/changelog.Debian.gz DESTINATION share/doc/quillfern)
# The package needs the engine alone: installing does not build the developer's benchmarks.
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY TRUE)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME quillfern)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_DEBIAN_PACKAGE_RELEASE ${QUILLFERN_PACKAGE_RELEASE})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_PACKAGE_CONTACT "${QUILLFERN_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_SECTION games)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "xboard")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE
    GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "chess engine for xboard, UCI interfaces and the console")
set(CPACK_PACKAGE_DESCRIPTION "\
quillfern plays chess against a person at a text console, or inside a
graphical interface that speaks the xboard protocol (version 2) or UCI;
installed, it appears in xboard's list of engines.

It keeps the board as four bitboards seen from the side to move, asks a
Polyglot opening book before it thinks, and has two search styles: a plain
alpha-beta search with quiescence and exchange evaluation, and a much
stronger principal variation search with a transposition table, pruning
and a tapered evaluation. Its settings come from an INI file; it can log
its games, and it carries a perft test and a search benchmark.")
include(CPack)
