# Runs in CPack's staging folder before the package is made: what Debian asks
# of a package beyond the installed files (compressed manual pages, the
# copyright and changelog under /usr/share/doc).
file(GLOB_RECURSE pages "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*/share/man/man1/*.1")
foreach(page ${pages})
  execute_process(COMMAND gzip -9nf "${page}" RESULT_VARIABLE rc)
  if(rc)
    message(FATAL_ERROR "gzip ${page} failed")
  endif()
endforeach()
file(GLOB_RECURSE bins "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*/bin/zephyra-installer")
list(GET bins 0 bin)
get_filename_component(usr "${bin}" DIRECTORY)
get_filename_component(usr "${usr}" DIRECTORY)
set(doc "${usr}/share/doc/${CPACK_PACKAGE_NAME}")
file(MAKE_DIRECTORY "${doc}")
file(COPY "${CPACK_ZEPHYRA_SOURCE_DIR}/packaging/copyright" DESTINATION "${doc}")
file(COPY "${CPACK_ZEPHYRA_SOURCE_DIR}/packaging/changelog" DESTINATION "${doc}")
execute_process(COMMAND gzip -9nf "${doc}/changelog")
