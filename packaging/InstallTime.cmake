# Run by `cmake --install` after the variables of packaging/CMakeLists.txt are set: writes the
# desktop entry and, for a folder install, the information file, for the prefix chosen now.

# Quotes a value as a JSON string.
function(fennic_json_string out value)
  string(REPLACE "\\" "\\\\" value "${value}")
  string(REPLACE "\"" "\\\"" value "${value}")
  string(REPLACE "\n" "\\n" value "${value}")
  string(REPLACE "\r" "\\r" value "${value}")
  string(REPLACE "\t" "\\t" value "${value}")
  set(${out} "\"${value}\"" PARENT_SCOPE)
endfunction()

# A package's entry runs `fennic` from PATH; a folder install's runs its own executable, which
# no PATH knows. An absolute path is quoted, as the desktop entry format wants for one with
# spaces, and escaped for the entry's own string rules.
if(FENNIC_BUNDLE_INSTALL)
  set(executable "${CMAKE_INSTALL_PREFIX}/bin/fennic")
  string(REPLACE "\\" "\\\\\\\\" quoted "${executable}")
  foreach(special "\"" "`" "$")
    string(REPLACE "${special}" "\\\\${special}" quoted "${quoted}")
  endforeach()
  string(REPLACE "%" "%%" quoted "${quoted}")
  set(FENNIC_EXEC "\"${quoted}\"")
  set(FENNIC_TRY_EXEC "${executable}")
else()
  set(FENNIC_EXEC fennic)
  set(FENNIC_TRY_EXEC fennic)
endif()
configure_file("${FENNIC_SHARE_SOURCE_DIR}/applications/${FENNIC_APP_ID}.desktop.in"
               "${FENNIC_STAGING_DIR}/applications/${FENNIC_APP_ID}.desktop" @ONLY)
file(INSTALL "${FENNIC_STAGING_DIR}/applications/${FENNIC_APP_ID}.desktop"
     DESTINATION "${CMAKE_INSTALL_PREFIX}/share/applications")

# The information file makes the installed folder an application that updates itself: the
# updater reads <folder>/Info.json (the folder above bin/). A package never carries one, since
# there the package manager does the updating.
if(FENNIC_BUNDLE_INSTALL)
  fennic_json_string(FENNIC_JSON_ID "${FENNIC_APP_ID}")
  fennic_json_string(FENNIC_JSON_VERSION "${FENNIC_VERSION}")
  fennic_json_string(FENNIC_JSON_FEED "${FENNIC_UPDATE_FEED_URL}")
  fennic_json_string(FENNIC_JSON_KEY "${FENNIC_UPDATE_PUBLIC_KEY}")
  configure_file("${FENNIC_PACKAGING_DIR}/Info.json.in" "${FENNIC_STAGING_DIR}/Info.json" @ONLY)
  file(INSTALL "${FENNIC_STAGING_DIR}/Info.json" DESTINATION "${CMAKE_INSTALL_PREFIX}")
endif()
