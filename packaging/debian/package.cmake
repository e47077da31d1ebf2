# SPDX-License-Identifier: MIT
# What cpack makes of an installation. Called by the package script, which sets flags and dates.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tavik-center)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "The Tavik Center developers <maintainers@tavik-center.example>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# A package for each component, with a first line of its own.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_COMPONENTS_ALL center command)

set(CPACK_DEBIAN_CENTER_PACKAGE_NAME tavik-center)
set(CPACK_COMPONENT_CENTER_DESCRIPTION
"configurator for the ZEROLT TAVIK Pro keyboard
Tavik Center sets up the ZEROLT TAVIK Pro keyboard over its USB cable: what
its keys do on two layers, its lighting effects and the color of every key,
macros, and the pictures and animations on its screen.

The person who sits at the computer may use it without further steps. The
interface that types stays closed to every program. tavik-center-doctor says
in one line why the keyboard is not found, and what helps.")
# An older library would start, too, but says nothing of what an interface is for.
set(hidapi "libhidapi-hidraw0 (>= ${TAVIK_HIDAPI_VERSION})")
set(CPACK_DEBIAN_CENTER_PACKAGE_DEPENDS
  "fonts-open-sans, tavikctl (= ${PROJECT_VERSION}), ${hidapi}")
# Under X it works without the Wayland plugin. Two of the language names are Chinese.
set(CPACK_DEBIAN_CENTER_PACKAGE_RECOMMENDS "qt6-wayland, fonts-droid-fallback | fonts-noto-cjk")

set(CPACK_DEBIAN_COMMAND_PACKAGE_NAME tavikctl)
set(CPACK_COMPONENT_COMMAND_DESCRIPTION
"set up the ZEROLT TAVIK Pro keyboard from a shell
tavikctl does from a shell what the window of Tavik Center does to the ZEROLT
TAVIK Pro keyboard: keys, lighting, colors, macros, and all of that at log-in.
It needs no display; for pictures on the keyboard's screen it takes what the
package tavik-center brings.

The package opens the keyboard to the person who sits at the computer, and
keeps the interface that types closed. tavik-center-doctor says in one line
why the keyboard is not found, and what helps.")
set(CPACK_DEBIAN_COMMAND_PACKAGE_DEPENDS "${hidapi}")
# The keyboard also works where nobody logs in at the screen, given permission by other means.
set(CPACK_DEBIAN_COMMAND_PACKAGE_RECOMMENDS "default-logind | logind")
set(CPACK_DEBIAN_COMMAND_PACKAGE_SUGGESTS tavik-center)
set(CPACK_DEBIAN_COMMAND_PACKAGE_CONTROL_EXTRA
  ${CMAKE_CURRENT_BINARY_DIR}/debian/postinst ${CMAKE_CURRENT_SOURCE_DIR}/debian/postrm)

include(CPack)
