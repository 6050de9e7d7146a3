# Release builds are hardened, and the same sources give the same bytes in any folder. The sanitizers have their own checks,
# which conflict with these.
if(MORVEX_SANITIZE)
  return()
endif()

add_compile_options(
  $<$<CONFIG:Release>:-fstack-protector-strong>
  $<$<CONFIG:Release>:-U_FORTIFY_SOURCE>
  $<$<CONFIG:Release>:-D_FORTIFY_SOURCE=3>
  $<$<CONFIG:Release>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=>)
if(WIN32)
  add_link_options($<$<CONFIG:Release>:-fstack-protector-strong>) # links the library behind these checks
  add_link_options(-Wl,--dynamicbase,--high-entropy-va,--nxcompat)
else()
  add_link_options($<$<CONFIG:Release>:-pie> -Wl,-z,relro,-z,noexecstack)
endif()
