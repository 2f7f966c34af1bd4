# Run by cpack between the installation into its staging directory and the making of the packages:
# what Debian wants otherwise than an installation into a prefix has it.

# The file's name and time do not go into the result.
function(compress file result)
  execute_process(COMMAND gzip -9nc ${file} OUTPUT_FILE ${result} COMMAND_ERROR_IS_FATAL ANY)
  file(CHMOD ${result} PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
endfunction()

foreach(package IN ITEMS browser-plugin:orvane-web tools:orvane-web-tools)
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
