# SPDX-License-Identifier: MIT
# Reads the date of this version and what is said of each from the changelog: TAVIK_RELEASE_DATE, and
# TAVIK_RELEASES for the metainfo file.

set_property(DIRECTORY APPEND PROPERTY
  CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/CHANGELOG.md)
file(READ ${PROJECT_SOURCE_DIR}/CHANGELOG.md notes)

if(NOT notes MATCHES "\n## ([0-9.]+) \\(([0-9-]+)\\)\n" OR NOT CMAKE_MATCH_1 STREQUAL PROJECT_VERSION)
  message(FATAL_ERROR "CHANGELOG.md does not begin with version ${PROJECT_VERSION}")
endif()
set(TAVIK_RELEASE_DATE ${CMAKE_MATCH_2})

string(REPLACE "&" "&amp;" notes "${notes}")
string(REPLACE "<" "&lt;" notes "${notes}")
string(REPLACE ">" "&gt;" notes "${notes}")
string(REGEX REPLACE "`([^`]+)`" "<code>\\1</code>" notes "${notes}")
string(FIND "${notes}" "\n## " start)
string(SUBSTRING "${notes}" ${start} -1 notes)
# A paragraph or an item a line, and an item starts with its element.
string(REGEX REPLACE "\n  +" " " notes "${notes}")
string(REGEX REPLACE "\n- ([^\n]+)" "\n<ul><li>\\1</li></ul>" notes "${notes}")
string(REGEX REPLACE "\n([^\n<#][^\n]*)" "\n<p>\\1</p>" notes "${notes}")
string(REPLACE "</ul>\n<ul>" "\n" notes "${notes}")
string(REGEX REPLACE "\n## ([0-9.]+) \\(([0-9-]+)\\)\n"
  "</description></release>\n<release version=\"\\1\" date=\"\\2\"><description>\n"
  notes "${notes}")
string(FIND "${notes}" "<release " start)
string(SUBSTRING "${notes}" ${start} -1 notes)
set(TAVIK_RELEASES "${notes}</description></release>")
