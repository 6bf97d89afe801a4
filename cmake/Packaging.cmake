# The Debian package: `cpack -G DEB` in a build folder packs whatever `cmake --install`
# installs, plus the licence and changelog every Debian package carries.
# scripts/package.sh builds and packs in one go.
include(GNUInstallDirs)

set(TALLYFIN_PACKAGE_REVISION 1)
set(TALLYFIN_MAINTAINER "Morvek <tallyfin@morvek.com>")
set(TALLYFIN_HOMEPAGE "https://tallyfin.morvek.com")
set(package_version "${PROJECT_VERSION}-${TALLYFIN_PACKAGE_REVISION}")
set(package_docdir "${CMAKE_INSTALL_DATADIR}/doc/tallyfin")
set(package_sources "${PROJECT_SOURCE_DIR}/packaging")
set(package_build "${PROJECT_BINARY_DIR}/packaging")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
             "${PROJECT_SOURCE_DIR}/LICENSE" "${package_sources}/changelog.Debian")

# The licence in Debian's machine-readable form, from LICENSE itself: its notice with
# every line indented and blank lines written as " .".
file(READ "${PROJECT_SOURCE_DIR}/LICENSE" license)
if(NOT license MATCHES "Copyright \\(c\\) ([^\n]+)")
  message(FATAL_ERROR "LICENSE names no copyright holder (a line \"Copyright (c) YEAR NAME\")")
endif()
set(TALLYFIN_COPYRIGHT "${CMAKE_MATCH_1}")
string(FIND "${license}" "Permission is hereby granted" notice_start)
string(SUBSTRING "${license}" ${notice_start} -1 notice)
string(STRIP "${notice}" notice)
string(REPLACE "\n\n" "\n.\n" notice "${notice}")
string(REPLACE "\n" "\n " TALLYFIN_LICENSE_TEXT " ${notice}")
configure_file("${package_sources}/copyright.in" "${package_build}/copyright" @ONLY)

# A changelog whose newest entry is not this version would describe another package.
file(STRINGS "${package_sources}/changelog.Debian" newest_entry LIMIT_COUNT 1)
string(REPLACE "." "\\." version_pattern "${package_version}")
if(NOT newest_entry MATCHES "^tallyfin \\(${version_pattern}\\) ")
  message(FATAL_ERROR "packaging/changelog.Debian must begin with an entry for tallyfin "
                      "(${package_version}), the version the project builds")
endif()
# Without a name or time stamp in the header, the same changelog packs to the same bytes.
execute_process(COMMAND gzip -9 --no-name --stdout "${package_sources}/changelog.Debian"
                OUTPUT_FILE "${package_build}/changelog.Debian.gz" COMMAND_ERROR_IS_FATAL ANY)

install(FILES "${package_build}/copyright" "${package_build}/changelog.Debian.gz"
        DESTINATION "${package_docdir}")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tallyfin)
set(CPACK_PACKAGE_VENDOR Morvek)
set(CPACK_PACKAGE_CONTACT "${TALLYFIN_MAINTAINER}")
set(CPACK_PACKAGE_HOMEPAGE_URL "${TALLYFIN_HOMEPAGE}")
set(CPACK_RESOURCE_FILE_LICENSE "${PROJECT_SOURCE_DIR}/LICENSE")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "disk usage analyser and safe cleaner")
# Debian shows the long description as it is: lines of at most 80 characters.
string(CONCAT CPACK_PACKAGE_DESCRIPTION
       "Tallyfin finds out what fills the disk and helps get the space back safely.\n"
       "It knows where build tools, package managers, containers, virtual machines,\n"
       "coding agents and local model stores keep their data, and which of that data\n"
       "rebuilds itself. It never deletes: cleanups go to the Trash, journalled and\n"
       "undoable.\n"
       "\n"
       "This package holds the tallyfin command line, with an MCP server for AI\n"
       "assistants, and the Tallyfin desktop app.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${TALLYFIN_PACKAGE_REVISION})
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Qt draws the app's SVG icons with plugins the program never links to, and libcurl is
# opened only when an update is fetched, so dpkg-shlibdeps cannot see that they are needed.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libqt6svg6 (>= 6.4.0)")
if(TALLYFIN_UPDATE_CHECK)
  string(APPEND CPACK_DEBIAN_PACKAGE_DEPENDS ", libcurl4 (>= 7.88)")
endif()
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
if(TALLYFIN_UPDATE_CHECK)
  # A downloaded release is handed to `pkexec apt-get install`, else to the desktop's installer.
  set(CPACK_DEBIAN_PACKAGE_SUGGESTS pkexec)
endif()
include(CPack)
