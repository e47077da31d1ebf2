# SPDX-License-Identifier: MIT
# Documentation is compressed, without time stamps, and fonts come from their own package.

find_program(GZIP gzip REQUIRED)

# install_compressed(SOURCE DESTINATION-DIRECTORY NAME COMPONENT)
function(install_compressed source destination name component)
  set(compressed ${CMAKE_CURRENT_BINARY_DIR}/compressed/${component}/${name}.gz)
  add_custom_command(
    OUTPUT ${compressed}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_CURRENT_BINARY_DIR}/compressed/${component}
    COMMAND ${GZIP} -9 --no-name --stdout ${source} > ${compressed}
    DEPENDS ${source}
    VERBATIM)
  set_property(GLOBAL APPEND PROPERTY TAVIK_COMPRESSED ${compressed})
  install(FILES ${compressed} DESTINATION ${destination} COMPONENT ${component})
endfunction()

# A package has one prefix only.
set(bin ${CMAKE_INSTALL_FULL_BINDIR})
set(share ${CMAKE_INSTALL_FULL_DATADIR})
set(udev ${CMAKE_INSTALL_PREFIX}/${udev_directory})

# install_documentation(COMPONENT PACKAGE PAGE...)
function(install_documentation component package)
  foreach(page IN LISTS ARGN)
    configure_file(man/${page}.in ${page} @ONLY)
    install_compressed(${CMAKE_CURRENT_BINARY_DIR}/${page} ${CMAKE_INSTALL_MANDIR}/man1
      ${page} ${component})
  endforeach()
  set(documentation ${CMAKE_INSTALL_DATADIR}/doc/${package})
  install_compressed(${CMAKE_CURRENT_SOURCE_DIR}/debian/changelog
    ${documentation} changelog ${component})
  install(FILES debian/copyright DESTINATION ${documentation} COMPONENT ${component})
endfunction()

install_documentation(center tavik-center tavik-center.1)
install_documentation(command tavikctl tavikctl.1 tavik-center-doctor.1)

get_property(compressed_files GLOBAL PROPERTY TAVIK_COMPRESSED)
add_custom_target(tavik_compressed_documentation ALL DEPENDS ${compressed_files})

# The skin's directory has been installed before, because its subdirectory comes first.
set(fonts ${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_DATADIR}/tavik-center/official-skin/fonts)
install(CODE "
  foreach(font OpenSans-Regular.ttf OpenSans-Semibold.ttf)
    file(REMOVE \"\$ENV{DESTDIR}${fonts}/\${font}\")
    file(CREATE_LINK ../../../fonts/truetype/open-sans/\${font}
      \"\$ENV{DESTDIR}${fonts}/\${font}\" SYMBOLIC)
  endforeach()")
