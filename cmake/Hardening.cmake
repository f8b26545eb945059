# Release builds get the distribution's hardening: position-independent executables, the stack
# protector and clash protection, _FORTIFY_SOURCE=2 and full RELRO. Sanitizer and debug builds
# keep their own flags (fortification needs optimisation, and the sanitizers bring their own checks).
if(CMAKE_BUILD_TYPE MATCHES "^(Release|RelWithDebInfo|MinSizeRel)$" AND BULKSMS_SANITIZE STREQUAL "")
  include(CheckPIESupported)
  check_pie_supported()
  set(CMAKE_POSITION_INDEPENDENT_CODE ON)
  add_compile_options(-fstack-protector-strong -fstack-clash-protection -fcf-protection -Wformat
                      -Werror=format-security)
  add_compile_definitions(_FORTIFY_SOURCE=2)
  add_link_options(-Wl,-z,relro -Wl,-z,now)
endif()
