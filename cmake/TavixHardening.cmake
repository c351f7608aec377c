# What makes a defect stop instead of obey a stranger, in every preset; tests/install/hardening.sh reads the binaries.
include(CheckPIESupported)
check_pie_supported()

# tavix_harden(<target>): guards of the stack, of control flow and of the dynamic linker's tables. The checks of the C
# library and of the C++ library stay away from sanitizers, which check the same and more.
function(tavix_harden target)
  target_compile_options(${target} PRIVATE -fstack-protector-strong -fstack-clash-protection -Wformat -Werror=format-security)
  if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|amd64")
    target_compile_options(${target} PRIVATE -fcf-protection=full)
  elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "aarch64|arm64")
    target_compile_options(${target} PRIVATE -mbranch-protection=standard)
  endif()
  if(NOT TAVIX_SANITIZE)
    target_compile_options(${target} PRIVATE -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
    target_compile_definitions(${target} PRIVATE $<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>)
  endif()
  target_link_options(${target} PRIVATE -Wl,-z,relro,-z,now -Wl,-z,noexecstack)
endfunction()
