# `cpack -G DEB` in the build folder: one Debian package holding the library, its
# development files and the Qt Designer plugin, each an install component.
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
set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)
set(CPACK_DEBIAN_PACKAGE_NAME dayvex)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libdevel)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
# The run-time dependencies (Qt's libraries among them) come from dpkg-shlibdeps;
# find_package(Dayvex) also needs Qt's own CMake files.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qt6-base-dev")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "zntDayvex shows appointments in day, week and month views beside a month
calendar, with a to-do list and reminders, over data that the host owns.
The package holds the shared library, its headers and CMake package files
and a Qt Designer plugin.")
include(CPack)
