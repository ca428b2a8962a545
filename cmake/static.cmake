# A run on ordinary firmware takes a millisecond, and loading shared libraries would double it:
# the program is linked statically where the toolchain can, and as static-pie where it can do
# that, so that its addresses stay random.
#
# Sets the option BANKIMG_STATIC and the linker flags BANKIMG_STATIC_FLAGS.
include(CheckCXXSourceCompiles)

function(check_links flag result)
  set(CMAKE_REQUIRED_FLAGS -fPIE)
  set(CMAKE_REQUIRED_LINK_OPTIONS ${flag})
  set(CMAKE_REQUIRED_QUIET ON)
  check_cxx_source_compiles("#include <string>
    int main(int argc, char** argv) { return std::string(argv[argc - 1]).size() == 1; }" ${result})
endfunction()

check_links(-static-pie BANKIMG_LINKS_STATIC_PIE)
check_links(-static BANKIMG_LINKS_STATIC)

if(BANKIMG_LINKS_STATIC_PIE)
  set(BANKIMG_STATIC_FLAGS -static-pie)
elseif(BANKIMG_LINKS_STATIC)
  set(BANKIMG_STATIC_FLAGS -static)
endif()

if(BANKIMG_STATIC_FLAGS)
  set(can_be_static ON)
else()
  set(can_be_static OFF)
endif()
option(BANKIMG_STATIC "Link the program statically" ${can_be_static})
if(BANKIMG_STATIC AND NOT can_be_static)
  message(FATAL_ERROR "BANKIMG_STATIC: this toolchain has no static C and C++ libraries")
endif()
