# SPDX-License-Identifier: MIT
# Makes what is missing of TAVIK_DIRECTORIES below the prefix, open to everybody: CMake itself leaves
# that to the umask of whoever installs.

foreach(directory IN LISTS TAVIK_DIRECTORIES)
  string(REPLACE "/" ";" names "$ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}/${directory}")
  set(place "")
  foreach(name IN LISTS names)
    string(APPEND place "${name}")
    if(name AND NOT EXISTS "${place}")
      file(MAKE_DIRECTORY "${place}")
      file(CHMOD "${place}" PERMISSIONS
        OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
    endif()
    string(APPEND place /)
  endforeach()
endforeach()
