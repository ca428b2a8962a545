# The hardening that costs nothing, as far as the compiler has it.
#
# Sets the compile options BANKIMG_HARDENING.
include(CheckCXXCompilerFlag)

set(BANKIMG_HARDENING -D_GLIBCXX_ASSERTIONS
  $<$<OR:$<CONFIG:Release>,$<CONFIG:RelWithDebInfo>>:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3>)
foreach(flag -fstack-protector-strong -fstack-clash-protection -fcf-protection=full)
  string(MAKE_C_IDENTIFIER "BANKIMG_HAS${flag}" has)
  check_cxx_compiler_flag(${flag} ${has})
  if(${has})
    list(APPEND BANKIMG_HARDENING ${flag})
  endif()
endforeach()
