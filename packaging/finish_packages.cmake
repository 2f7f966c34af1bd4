# Run by cpack between the installation into its staging directory and the making of the packages:
# what Debian wants otherwise than an installation into a prefix has it.

# The file's name and time do not go into the result.
function(compress file result)
  execute_process(COMMAND gzip -9nc ${file} OUTPUT_FILE ${result} COMMAND_ERROR_IS_FATAL ANY)
  file(CHMOD ${result} PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
endfunction()

foreach(package IN ITEMS browser-plugin:orvane-web extension:orvane-web-extension tools:orvane-web-tools)
  string(REPLACE ":" ";" package ${package})
  list(GET package 0 component)
  list(GET package 1 name)
  set(share ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${component}/usr/share)
  set(documents ${share}/doc/${name})
  compress(${documents}/CHANGELOG.md ${documents}/changelog.gz)
  file(REMOVE ${documents}/CHANGELOG.md)
  compress(${CPACK_ORVANE_DEBIAN_FILES}/changelog ${documents}/changelog.Debian.gz)
  file(GLOB pages ${share}/man/man1/*.1)
  foreach(page IN LISTS pages)
    compress(${page} ${page}.gz)
    file(REMOVE ${page})
  endforeach()
  set(overrides ${share}/lintian/overrides)
  file(MAKE_DIRECTORY ${overrides})
  file(CHMOD ${share}/lintian ${overrides} PERMISSIONS ${CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS})
  configure_file(${CPACK_ORVANE_DEBIAN_FILES}/lintian-overrides ${overrides}/${name}
                 COPYONLY FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
endforeach()

# Where the browsers look for extensions and for programs that extensions may start.
function(link_extension link target)
  get_filename_component(directory ${link} DIRECTORY)
  file(MAKE_DIRECTORY ${directory})
  file(CREATE_LINK ${target} ${link} SYMBOLIC)
endfunction()

function(write_native_manifest path allowed)
  set(HOST /usr/libexec/orvane-web-host)
  set(ALLOWED ${allowed})
  configure_file(${CPACK_ORVANE_NATIVE_MANIFEST} ${path} @ONLY
                 FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
endfunction()

set(root ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/extension)
link_extension(${root}/usr/share/chromium/extensions/orvane-web ../../webext/orvane-web-chromium)
link_extension(
  ${root}/usr/share/mozilla/extensions/{ec8030f7-c20a-464f-9b0e-13a3a9e97384}/orvane-web@orvane.example
  ../../../webext/orvane-web)
set(manifest native-messaging-hosts/example.orvane.web_host.json)
write_native_manifest(${root}/usr/lib/mozilla/${manifest}
                      "\"allowed_extensions\": [\"orvane-web@orvane.example\"]")
write_native_manifest(${root}/etc/chromium/${manifest}
                      "\"allowed_origins\": [\"chrome-extension://${CPACK_ORVANE_CHROMIUM_ID}/\"]")
file(GLOB_RECURSE directories LIST_DIRECTORIES true ${root}/usr/share/chromium* ${root}/usr/share/mozilla*
     ${root}/usr/lib/* ${root}/etc*)
foreach(path IN LISTS directories)
  if(IS_DIRECTORY ${path} AND NOT IS_SYMLINK ${path})
    file(CHMOD ${path} PERMISSIONS ${CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS})
  endif()
endforeach()
