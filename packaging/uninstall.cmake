# SPDX-License-Identifier: MIT
# Removes what the last installation from this build directory put in place, and the directories of
# the program's own. DESTDIR must be as it was for the installation.
# Usage: cmake -DMANIFEST=BUILD/install_manifest.txt -P uninstall.cmake

if(NOT EXISTS "${MANIFEST}")
  message(FATAL_ERROR "${MANIFEST} is missing: nothing was installed from this build directory.")
endif()

# The manifest names our own directory again and again; each is removed when it has become empty.
function(remove_own_directories file)
  cmake_path(GET file PARENT_PATH directory)
  while(directory MATCHES "/tavik-center(/|$)")
    file(GLOB left "${directory}/*")
    if(left OR NOT EXISTS "${directory}")
      return()
    endif()
    file(REMOVE_RECURSE "${directory}")
    cmake_path(GET directory PARENT_PATH directory)
  endwhile()
endfunction()

file(STRINGS "${MANIFEST}" files)
foreach(file IN LISTS files)
  set(file "$ENV{DESTDIR}${file}")
  if(EXISTS "${file}" OR IS_SYMLINK "${file}")
    message(STATUS "Removing ${file}")
    file(REMOVE "${file}")
  endif()
endforeach()
foreach(file IN LISTS files)
  remove_own_directories("$ENV{DESTDIR}${file}")
endforeach()
