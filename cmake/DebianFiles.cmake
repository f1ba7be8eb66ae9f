# SPDX-License-Identifier: MIT
# CPack runs this script when it has put the files of each component into a directory, before it makes the
# packages. Adds what Debian wants in every package: licence, changelog, compressed manual pages. Finds out
# what the library's package depends on.
set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS ${CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS})
unset(ENV{DESTDIR}) # CPack has set it for the last component
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} COMPONENT)
  set(usr ${CPACK_TEMPORARY_DIRECTORY}/${component}/usr)
  set(doc ${usr}/share/doc/${CPACK_DEBIAN_${COMPONENT}_PACKAGE_NAME})
  file(INSTALL ${CPACK_LUMENTA_SOURCE_DIR}/packaging/debian/copyright ${CPACK_LUMENTA_SOURCE_DIR}/packaging/debian/changelog
    DESTINATION ${doc})
  file(GLOB_RECURSE to_compress ${usr}/share/man/*.[1-9])
  execute_process(COMMAND gzip -9nf ${doc}/changelog ${to_compress} COMMAND_ERROR_IS_FATAL ANY)
endforeach()

# dpkg-shlibdeps needs a file debian/control where it runs.
set(place ${CPACK_TEMPORARY_DIRECTORY}/shlibdeps)
file(WRITE ${place}/debian/control "")
file(GLOB_RECURSE libraries ${CPACK_TEMPORARY_DIRECTORY}/runtime/usr/lib/*.so.*)
execute_process(COMMAND dpkg-shlibdeps -O ${libraries} WORKING_DIRECTORY ${place}
  OUTPUT_VARIABLE depends OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
string(REGEX REPLACE "^.*Depends=" "" CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "${depends}")
