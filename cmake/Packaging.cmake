# cpack -G DEB: a package for the Debian release that it is built on.
#
# dpkg-shlibdeps finds the libraries that are linked. What is found at run time only (the sound server, QML modules,
# plugins, the speech model) is what the program needs beyond them: the section [program] of scripts/packages.txt.
set(set_up ${PROJECT_SOURCE_DIR}/scripts/set-up.sh)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/scripts/packages.txt ${set_up})
execute_process(COMMAND bash -c "source '${set_up}'; packages_of program"
                OUTPUT_VARIABLE dependencies ERROR_QUIET OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
string(REPLACE "\n" ", " dependencies "${dependencies}")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME murmelo)
set(CPACK_PACKAGE_CONTACT "The Murmelo authors <murmelo@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "record what you hear and say, and get it written down")
set(CPACK_PACKAGE_DESCRIPTION "Murmelo captures everything the computer plays together with the user's microphone,
and turns the recording into a transcript with two speakers. Nothing leaves
the computer.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS ${dependencies})
include(CPack)
