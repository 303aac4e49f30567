# `cpack -G DEB` in the build folder: Debian packages split as Debian splits a
# library: the run-time library (stripped, its symbols in a -dbgsym package), the
# development files, and the Qt Designer plugin, one install component each.
set(CPACK_PACKAGE_NAME dayvex)
set(CPACK_PACKAGE_VENDOR "Dayvex")
set(CPACK_PACKAGE_CONTACT "Dayvex developers <dayvex@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_COMPONENTS_ALL library development)
if(TARGET dayvex_designer)
    list(APPEND CPACK_COMPONENTS_ALL designer)
endif()
set(CPACK_COMPONENT_LIBRARY_DISPLAY_NAME "Dayvex library")
set(CPACK_COMPONENT_DEVELOPMENT_DISPLAY_NAME "Headers and CMake package files")
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS library)
set(CPACK_COMPONENT_DESIGNER_DISPLAY_NAME "Qt Designer plugin")
set(CPACK_COMPONENT_DESIGNER_DEPENDS library)

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
# A component's DEPENDS become the package's Depends, at this very version.
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The plugin links libDayvex from the run-time package, built here.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/src)
set(CPACK_DEBIAN_DEBUGINFO_PACKAGE ON)

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libdayvex${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
# The local store opens its file through Qt's SQLite driver, a plug-in no library links.
set(CPACK_DEBIAN_LIBRARY_PACKAGE_DEPENDS libqt6sql6-sqlite)
set(CPACK_DEBIAN_LIBRARY_DESCRIPTION "embeddable agenda control for Qt Widgets hosts
zntDayvex shows appointments in day, week and month views beside a month
calendar, with a to-do list and reminders, over data that the host owns.
This package holds the shared libraries.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libdayvex-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
# find_package(Dayvex) loads Qt's CMake files; the headers include Qt's.
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "qt6-base-dev")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "embeddable agenda control for Qt Widgets hosts - development files
The headers and CMake package files of Dayvex::Core and Dayvex::Dayvex.")

set(CPACK_DEBIAN_DESIGNER_PACKAGE_NAME dayvex-designer-plugin)
set(CPACK_DEBIAN_DESIGNER_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_DESIGNER_DESCRIPTION "embeddable agenda control for Qt Widgets hosts - Qt Designer plugin
Puts zntDayvex in Qt Designer's widget box and on forms.")
include(CPack)
