# Run by CPack between installing and packing: adds the documents of each Debian package, compressed as Debian wants.
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
file(READ "${CPACK_RESOURCE_FILE_LICENSE}" license)
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER "${component}" upper)
  set(package "${CPACK_DEBIAN_${upper}_PACKAGE_NAME}")
  set(root "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${component}${CPACK_PACKAGING_INSTALL_PREFIX}")
  set(documents "${root}/share/doc/${package}")
  file(REMOVE "${documents}/LICENSE")
  file(WRITE "${documents}/copyright" "${license}")
  file(WRITE "${documents}/changelog.Debian"
"qvglrenderer (${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}) stable; urgency=medium

  * Version ${CPACK_PACKAGE_VERSION}; the changelog of libqvglrenderer-dev says what is new.

 -- ${CPACK_PACKAGE_CONTACT}  ${date}
")
  if(EXISTS "${documents}/CHANGELOG.md")
    file(RENAME "${documents}/CHANGELOG.md" "${documents}/changelog")
  endif()
  file(GLOB changes "${documents}/changelog")
  file(GLOB_RECURSE pages "${root}/share/man/*.[1-8]")
  execute_process(COMMAND gzip -9nf "${documents}/changelog.Debian" ${changes} ${pages} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
