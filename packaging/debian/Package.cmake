# The Debian package: `cmake --build build/release --target package`.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vantry)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "see what coding agents are doing, and answer them")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"Vantry watches the command-line coding agents that you run, in however many
terminals, and tells you which of them needs an answer. While an agent asks for
a permission, Vantry holds its question, and you answer it without looking for
the right terminal: in a panel at the tray's icon, in a notch at the top of the
screen, in a notification, or from the command line. What your agents did stays
searchable.")
# Nobody reads mail there: a package that is given to others needs an address.
set(VANTRY_MAINTAINER "Vantry developers <developers@vantry.invalid>" CACHE STRING "Who answers for the package")
set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${VANTRY_MAINTAINER})
set(CPACK_DEBIAN_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

# What the programs link follows from them. The rest is loaded at run time: modules of QML, what runs the agent's hook.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS
    "python3, qml6-module-qtquick, qml6-module-qtquick-window, qml6-module-qtquick-templates, qml6-module-qtqml-workerscript")
# Branches, the microphone, the recogniser's model, links, and the bus that commands reach the program over.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS
    "git, libpulse0, pocketsphinx-en-us, xdg-utils, default-dbus-session-bus | dbus-session-bus")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "gnome-keyring, gnome-shell-extension-appindicator, kitty, konsole, tmux")

# Whoever builds the same version gets the same package: its files are as old as the release.
execute_process(COMMAND date -u -d ${VANTRY_RELEASE_DATE} +%s
    OUTPUT_VARIABLE release_seconds OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND date -u -d ${VANTRY_RELEASE_DATE} -R
    OUTPUT_VARIABLE release_time OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
file(WRITE ${made}/PackageSettings.cmake "set(ENV{SOURCE_DATE_EPOCH} ${release_seconds})\n")
set(CPACK_PROJECT_CONFIG_FILE ${made}/PackageSettings.cmake)

configure_file(${CMAKE_CURRENT_LIST_DIR}/changelog.in ${made}/changelog @ONLY)
configure_file(${CMAKE_CURRENT_LIST_DIR}/stage.cmake.in ${made}/stage.cmake @ONLY)
set(CPACK_PRE_BUILD_SCRIPTS ${made}/stage.cmake)

include(CPack)
