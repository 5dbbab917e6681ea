# SPDX-License-Identifier: Apache-2.0
#
# Installation rules that do not belong to a target: files for projects that link the libraries,
# documents, licences, and the Debian package. No installed file contains the prefix, so that
# `cmake --install --prefix` works and an installation can be moved.

include(CMakePackageConfigHelpers)

# The relative path from the folder of the .pc files to the prefix.
file(RELATIVE_PATH KAVREL_PREFIX_FROM_PKGCONFIG
  "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
foreach(library speechmanager kavrel)
  configure_file("${PROJECT_SOURCE_DIR}/packaging/${library}.pc.in"
    "${PROJECT_BINARY_DIR}/packaging/${library}.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/packaging/${library}.pc"
    DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
endforeach()

set(cmake_dir "${CMAKE_INSTALL_LIBDIR}/cmake/SpeechManager")
configure_package_config_file("${PROJECT_SOURCE_DIR}/packaging/SpeechManagerConfig.cmake.in"
  "${PROJECT_BINARY_DIR}/packaging/SpeechManagerConfig.cmake"
  INSTALL_DESTINATION "${cmake_dir}"
  PATH_VARS CMAKE_INSTALL_INCLUDEDIR CMAKE_INSTALL_LIBDIR)
write_basic_package_version_file(
  "${PROJECT_BINARY_DIR}/packaging/SpeechManagerConfigVersion.cmake"
  COMPATIBILITY SameMajorVersion)
install(FILES
  "${PROJECT_BINARY_DIR}/packaging/SpeechManagerConfig.cmake"
  "${PROJECT_BINARY_DIR}/packaging/SpeechManagerConfigVersion.cmake"
  DESTINATION "${cmake_dir}")

install(FILES
  "${PROJECT_SOURCE_DIR}/README.md"
  "${PROJECT_SOURCE_DIR}/CHANGELOG.md"
  "${PROJECT_SOURCE_DIR}/packaging/copyright"
  DESTINATION "${CMAKE_INSTALL_DOCDIR}")
install(FILES
  "${PROJECT_SOURCE_DIR}/LICENSE-Apache-2.0"
  "${PROJECT_SOURCE_DIR}/LICENSE-GPL-3.0"
  DESTINATION "${CMAKE_INSTALL_DOCDIR}")

# The maintainer of the package. Debian's tools read the same two variables.
set(package_contact "Kavrel Speech developers <unset@package.invalid>")
if(DEFINED ENV{DEBFULLNAME} AND DEFINED ENV{DEBEMAIL})
  set(package_contact "$ENV{DEBFULLNAME} <$ENV{DEBEMAIL}>")
endif()
set(KAVREL_PACKAGE_CONTACT "${package_contact}" CACHE STRING
  "Maintainer that the Debian package names: Name <address>")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME kavrel-speech)
set(CPACK_PACKAGE_VENDOR "The Kavrel Speech developers")
set(CPACK_PACKAGE_CONTACT "${KAVREL_PACKAGE_CONTACT}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Speech Synthesis Manager with a speech engine plug-in")
string(CONCAT CPACK_PACKAGE_DESCRIPTION
  "Speaks texts with embedded commands ([[rate 200]], [[emph +]]) aloud or to a\n"
  "sound file, and reports the position of each word. Contains the command line\n"
  "tools, the Speech Synthesis Manager's C interface for other programs, the engine\n"
  "plug-in and its voices.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/packages")
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
if(TARGET kavrel-synth)
  # What it reads; dpkg-shlibdeps finds the libraries that it is linked with.
  set(CPACK_DEBIAN_PACKAGE_DEPENDS espeak-ng-data)
endif()
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${KAVREL_LIB_DIR}")
set(CPACK_PRE_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/cmake/PackageTimes.cmake")
include(CPack)
