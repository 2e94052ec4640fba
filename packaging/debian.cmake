# `cpack -G DEB` makes one package of each component, with the papers that Debian wants in it.

# The packages' version is what their changelog says first; its first half is the project's.
file(STRINGS debian/changelog changelog_head LIMIT_COUNT 1)
string(REGEX MATCH "\\((.*)-([^-]*)\\)" package_version "${changelog_head}")
if(NOT CMAKE_MATCH_1 STREQUAL PROJECT_VERSION)
  message(FATAL_ERROR "packaging/debian/changelog is about ${CMAKE_MATCH_1}, not ${PROJECT_VERSION}")
endif()
set(package_version ${CMAKE_MATCH_1}-${CMAKE_MATCH_2})
set(maintainer "The maintainers of libyrafiletransfer <maintainers@yrafiletransfer.example>")

file(READ ${PROJECT_SOURCE_DIR}/LICENSE license)
string(REGEX REPLACE "^MIT License\n\nCopyright \\(c\\) ([^\n]*)\n\n" "" license "${license}")
set(copyright_holder "${CMAKE_MATCH_1}")
string(REGEX REPLACE "\n\n" "\n.\n" license "${license}")
string(REGEX REPLACE "\n$" "" license "${license}")
string(REPLACE "\n" "\n " license " ${license}")
configure_file(debian/copyright.in copyright @ONLY)

compress(${CMAKE_CURRENT_SOURCE_DIR}/debian/changelog ${CMAKE_CURRENT_BINARY_DIR}/changelog.Debian.gz)
compress(${PROJECT_SOURCE_DIR}/CHANGELOG.md ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz)
set(changelogs ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz ${CMAKE_CURRENT_BINARY_DIR}/changelog.Debian.gz)
add_custom_target(changelogs ALL DEPENDS ${changelogs})
set(papers ${CMAKE_CURRENT_BINARY_DIR}/copyright ${changelogs})

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package opens with its own

# What is linked with the toolkit comes in two flavours, of which a machine has one; the development
# package goes with either.
set(flavour "")
if(NOT YRAFT_GTK EQUAL 2)
  set(flavour -gtk${YRAFT_GTK})
endif()

# debian_package(COMPONENT NAME SECTION DESCRIPTION [DEPENDS package…] [FLAVOURED])
# Its maintainer scripts and triggers are the files of debian/COMPONENT.
macro(debian_package component plain_name section description)
  cmake_parse_arguments(arg "FLAVOURED" "" DEPENDS ${ARGN})
  set(name ${plain_name})
  string(TOUPPER ${component} upper)
  if(arg_FLAVOURED AND flavour)
    string(APPEND name ${flavour})
    set(CPACK_DEBIAN_${upper}_PACKAGE_PROVIDES "${plain_name} (= ${package_version})")
    set(CPACK_DEBIAN_${upper}_PACKAGE_CONFLICTS ${plain_name})
    set(CPACK_DEBIAN_${upper}_PACKAGE_REPLACES ${plain_name})
  endif()
  # The papers are left out of a plain `cmake --install`.
  install(FILES ${papers} EXCLUDE_FROM_ALL DESTINATION share/doc/${name} COMPONENT ${component}-papers)
  set(overrides ${CMAKE_CURRENT_SOURCE_DIR}/debian/${plain_name}.lintian-overrides)
  if(EXISTS ${overrides})
    install(FILES ${overrides} EXCLUDE_FROM_ALL DESTINATION share/lintian/overrides RENAME ${name}
      COMPONENT ${component}-papers)
  endif()
  list(APPEND CPACK_COMPONENTS_ALL ${component} ${component}-papers)
  set(CPACK_COMPONENT_${upper}_GROUP ${component})
  set(CPACK_COMPONENT_${upper}-PAPERS_GROUP ${component})
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name})
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${description}")
  list(JOIN arg_DEPENDS ", " CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS)
  file(GLOB CPACK_DEBIAN_${upper}_PACKAGE_CONTROL_EXTRA CONFIGURE_DEPENDS
    ${CMAKE_CURRENT_SOURCE_DIR}/debian/${component}/*)
endmacro()

set(about "The process that runs the transfer channel of a remote desktop's session
gets from this library a queue store in memory, the dialogs of a transfer in
the user's session, trace calls and message catalogs.")
set(runtime libyrafiletransfer${PROJECT_VERSION_MAJOR})
debian_package(runtime ${runtime} libs "session side of file transfer on a remote desktop
${about}
.
This package holds the library and its message catalogs. Its dialogs are of
GTK ${YRAFT_GTK}." FLAVOURED)
debian_package(development libyrafiletransfer-dev libdevel
  "session side of file transfer on a remote desktop - development files
${about}
.
This package holds what a host is built with: headers, pkg-config file and
CMake package."
  DEPENDS "${runtime} (= ${package_version})" libgoogle-perftools-dev libc6-dev)
debian_package(tools yrafiletransfer-tools utils
  "session side of file transfer on a remote desktop - programs
${about}
.
This package holds hosts to run by hand and the programs around the logging."
  DEPENDS "${runtime}${flavour} (= ${package_version})" FLAVOURED)

set(CPACK_PACKAGE_NAME yrafiletransfer)
set(CPACK_PACKAGE_VERSION ${package_version})
set(CPACK_PACKAGE_CONTACT ${maintainer})
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
get_target_property(built_library_dir yrafiletransfer BINARY_DIR)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${built_library_dir})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
# The catalogs have their fixed place outside of the prefix.
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX /usr)
include(CPack)
