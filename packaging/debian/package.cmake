# What cpack makes of an installation. Called by the package script, which sets flags and dates.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tavik-center)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "The Tavik Center developers <maintainers@tavik-center.org>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "configurator for the ZEROLT TAVIK Pro keyboard")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"Tavik Center sets up the ZEROLT TAVIK Pro keyboard over its USB cable: what
its keys do on two layers, its lighting effects and the color of every key,
macros, and the pictures and animations on its screen.

The person who sits at the computer may use it without further steps. The
interface that types stays closed to every program. tavik-center-doctor says
in one line why the keyboard is not found, and what helps.")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS fonts-open-sans)
# The keyboard also works where nobody logs in at the screen, given permission by other means; and
# under X without the Wayland plugin. Two of the language names are Chinese.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS
  "default-logind | logind, qt6-wayland, fonts-droid-fallback | fonts-noto-cjk")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
  ${CMAKE_CURRENT_BINARY_DIR}/debian/postinst ${CMAKE_CURRENT_SOURCE_DIR}/debian/postrm)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

include(CPack)
