# The browser extension, as each browser takes it.
set(source ${PROJECT_SOURCE_DIR}/browsers/webextension)
set(generated ${CMAKE_CURRENT_BINARY_DIR}/extension)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${source}/manifest.json)
file(READ ${source}/manifest.json manifest)
string(JSON version GET "${manifest}" version)
if(NOT version VERSION_EQUAL PROJECT_VERSION)
  message(FATAL_ERROR "browsers/webextension/manifest.json is not of version ${PROJECT_VERSION}")
endif()

# Chromium gives no use of Firefox's permissions. It takes an extension with rules of its own from no
# directory that the user cannot write, so there the background makes them.
string(JSON chromium REMOVE "${manifest}" declarative_net_request)
string(JSON chromium REMOVE "${chromium}" browser_specific_settings)
string(JSON chromium REMOVE "${chromium}" background scripts)
string(JSON last LENGTH "${chromium}" permissions)
math(EXPR last "${last} - 1")
foreach(index RANGE ${last} 0 -1)
  string(JSON permission GET "${chromium}" permissions ${index})
  if(permission MATCHES "^webRequest")
    string(JSON chromium REMOVE "${chromium}" permissions ${index})
  endif()
endforeach()
file(CONFIGURE OUTPUT ${generated}/chromium/manifest.json CONTENT "${chromium}\n" @ONLY)
# A store gives the key itself.
string(JSON store REMOVE "${chromium}" key)
file(CONFIGURE OUTPUT ${generated}/store/manifest.json CONTENT "${store}\n" @ONLY)

install(DIRECTORY ${source}/ DESTINATION ${CMAKE_INSTALL_DATADIR}/webext/orvane-web COMPONENT extension)
install(DIRECTORY ${source}/ DESTINATION ${CMAKE_INSTALL_DATADIR}/webext/orvane-web-chromium
  COMPONENT extension PATTERN manifest.json EXCLUDE)
install(FILES ${generated}/chromium/manifest.json
  DESTINATION ${CMAKE_INSTALL_DATADIR}/webext/orvane-web-chromium COMPONENT extension)
configure_file(orvane-web-register.in ${generated}/orvane-web-register @ONLY
  FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
# People start the host program too, to allow sites.
file(RELATIVE_PATH host ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBEXECDIR}/orvane-web-host)
file(CREATE_LINK ${host} ${generated}/orvane-web-host SYMBOLIC)
install(FILES ${generated}/orvane-web-host DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT extension)
install(PROGRAMS ${generated}/orvane-web-register DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT extension)
install(FILES ${PROJECT_SOURCE_DIR}/docs/man/orvane-web-host.1 ${PROJECT_SOURCE_DIR}/docs/man/orvane-web-register.1
  DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT extension)

set(CPACK_ORVANE_CHROMIUM_ID ${ORVANE_CHROMIUM_ID})
set(CPACK_ORVANE_NATIVE_MANIFEST ${CMAKE_CURRENT_SOURCE_DIR}/native_manifest.json.in)
