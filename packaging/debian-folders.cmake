# Run by CPack before it packs: Debian keeps zsh/site-functions for the administrator.
if(CPACK_GENERATOR STREQUAL "DEB")
  file(RENAME ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/usr/share/zsh/site-functions
              ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/usr/share/zsh/vendor-completions)
endif()
