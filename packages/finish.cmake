# Runs over the files that were staged for the packages, a folder for each component.

# Compresses a file as Debian wants it: at its best, and without a time in it.
function(compress file)
  execute_process(COMMAND gzip -9n ${file} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# UTC; SOURCE_DATE_EPOCH wins over the clock.
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
set(version ${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} key)
  set(package ${CPACK_DEBIAN_${key}_PACKAGE_NAME})
  set(root ${CPACK_TEMPORARY_DIRECTORY}/${component})
  set(prefix ${root}${CPACK_PACKAGING_INSTALL_PREFIX})

  set(doc ${prefix}/share/doc/${package})
  configure_file(${CPACK_NORIX_COPYRIGHT} ${doc}/copyright COPYONLY)
  configure_file(${CPACK_NORIX_CHANGELOG} ${doc}/changelog COPYONLY)
  file(WRITE ${doc}/changelog.Debian
       "norixengine (${version}) unstable; urgency=medium\n\n"
       "  * Version ${CPACK_PACKAGE_VERSION}; changelog.gz says what is new.\n\n"
       " -- ${CPACK_PACKAGE_CONTACT}  ${date}\n")
  compress(${doc}/changelog)
  compress(${doc}/changelog.Debian)

  file(GLOB_RECURSE pages ${prefix}/share/man/*)
  foreach(page IN LISTS pages)
    compress(${page})
  endforeach()

  # Debian's zsh looks for packages' completions in a folder of its own.
  if(EXISTS ${prefix}/share/zsh/site-functions)
    file(RENAME ${prefix}/share/zsh/site-functions ${prefix}/share/zsh/vendor-completions)
  endif()

  # In /usr the loader finds the library by itself.
  file(GLOB_RECURSE files ${prefix}/bin/* ${prefix}/lib/*.so*)
  foreach(file IN LISTS files)
    if(NOT IS_SYMLINK ${file})
      file(RPATH_REMOVE FILE ${file})
    endif()
  endforeach()

  execute_process(COMMAND chmod -R u=rwX,go=rX ${root} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
