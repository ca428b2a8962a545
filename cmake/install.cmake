# What `cmake --install` puts where, and the packages that CPack makes of it.
include(GNUInstallDirs)
set(BANKIMG_ZSH_COMPLETIONS share/zsh/site-functions CACHE STRING
  "Folder for the zsh completion, below the prefix")

function(compressed file)
  get_filename_component(name ${file} NAME)
  add_custom_command(OUTPUT ${name}.gz
    COMMAND gzip -9nc ${PROJECT_SOURCE_DIR}/${file} > ${name}.gz
    DEPENDS ${PROJECT_SOURCE_DIR}/${file}
    VERBATIM)
endfunction()
compressed(doc/bankimg.1)
compressed(packaging/changelog)
add_custom_target(documents ALL DEPENDS bankimg.1.gz changelog.gz)

install(TARGETS bankimg RUNTIME)
install(FILES ${PROJECT_BINARY_DIR}/bankimg.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES doc/bankimg.bash DESTINATION share/bash-completion/completions RENAME bankimg)
install(FILES doc/_bankimg DESTINATION ${BANKIMG_ZSH_COMPLETIONS})
install(FILES README.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(FILES doc/banks.svg DESTINATION ${CMAKE_INSTALL_DOCDIR}/doc)
install(FILES examples/banks.cfg DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples)

# A Debian package has other papers than an installation by hand.
option(BANKIMG_DEBIAN "Install what a Debian package needs" OFF)
if(BANKIMG_DEBIAN)
  install(FILES packaging/copyright ${PROJECT_BINARY_DIR}/changelog.gz
    DESTINATION ${CMAKE_INSTALL_DOCDIR})
  if(BANKIMG_STATIC)
    install(FILES packaging/lintian-overrides DESTINATION share/lintian/overrides RENAME bankimg)
  endif()
else()
  install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})
endif()

set(CPACK_PACKAGE_NAME bankimg)
set(CPACK_PACKAGE_VENDOR "the bankimg authors")
set(CPACK_PACKAGE_CONTACT "the bankimg authors <authors@bankimg.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "split the sections of an ELF executable into memory-bank images")
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_SOURCE_GENERATOR TGZ)
set(CPACK_SOURCE_PACKAGE_FILE_NAME bankimg-${PROJECT_VERSION})
set(CPACK_SOURCE_IGNORE_FILES "/\\\\.git/" "^${PROJECT_SOURCE_DIR}/build/")

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION electronics)
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "\
bankimg takes one 32-bit little-endian ELF executable and splits the
bytes of its loadable sections into memory-bank image files, one for
each bank of the target's memory map: text of four 32-bit words a line,
with the line's address as a comment. RTL simulations load them with
$readmemh; ROM flows take them as they stand.")
if(NOT BANKIMG_STATIC)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
endif()
include(CPack)
