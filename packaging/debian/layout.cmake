# Documentation is compressed, without time stamps, and fonts come from their own package.

find_program(GZIP gzip REQUIRED)

# install_compressed(SOURCE DESTINATION-DIRECTORY NAME)
function(install_compressed source destination name)
  set(compressed ${CMAKE_CURRENT_BINARY_DIR}/compressed/${name}.gz)
  add_custom_command(
    OUTPUT ${compressed}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_CURRENT_BINARY_DIR}/compressed
    COMMAND ${GZIP} -9 --no-name --stdout ${source} > ${compressed}
    DEPENDS ${source}
    VERBATIM)
  set_property(GLOBAL APPEND PROPERTY TAVIK_COMPRESSED ${compressed})
  install(FILES ${compressed} DESTINATION ${destination})
endfunction()

foreach(page IN LISTS man_pages)
  cmake_path(GET page FILENAME name)
  install_compressed(${page} ${CMAKE_INSTALL_MANDIR}/man1 ${name})
endforeach()
install_compressed(${CMAKE_CURRENT_SOURCE_DIR}/debian/changelog ${documentation} changelog)
install(FILES debian/copyright DESTINATION ${documentation})

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
