# The entry for software centres. Its id is the website's domain backwards, and its releases are those
# that the changelog dates: headings like "## 0.1.1 (2026-11-21)".
string(REPLACE "." ";" domain "${TARQ_WEBSITE_DOMAIN}")
list(REVERSE domain)
list(JOIN domain "." METAINFO_ID)
# The hyphen that a domain may have isn't allowed everywhere that the id goes.
string(REPLACE "-" "_" METAINFO_ID "${METAINFO_ID}.tarq_linux")

file(STRINGS ${PROJECT_SOURCE_DIR}/CHANGELOG.md headings REGEX "^## [0-9.]+ \\([0-9-]+\\)$")
foreach(heading IN LISTS headings)
    string(REGEX REPLACE "^## ([0-9.]+) \\(([0-9-]+)\\)$"
        "\n    <release version=\"\\1\" date=\"\\2\"/>" release "${heading}")
    string(APPEND METAINFO_RELEASES "${release}")
endforeach()
if(headings)
    set(METAINFO_RELEASES "\n  <releases>${METAINFO_RELEASES}\n  </releases>")
endif()
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/CHANGELOG.md)

set(metainfo ${CMAKE_CURRENT_BINARY_DIR}/${METAINFO_ID}.metainfo.xml)
configure_file(metainfo.xml.in ${metainfo} @ONLY)
install(FILES ${metainfo} DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
