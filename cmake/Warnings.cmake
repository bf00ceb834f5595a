# The warnings that all code of this repository is compiled with; link parvel_warnings to get them.
add_library(parvel_warnings INTERFACE)
target_compile_options(parvel_warnings INTERFACE
    -Wall
    -Wextra
    -Wpedantic
    -Wconversion
    -Wshadow
    -Wold-style-cast
    -Wnon-virtual-dtor
    -Woverloaded-virtual
    -Wsuggest-override
    -Wcast-align
    -Wformat=2
    -Wundef
    -Wextra-semi
    -Wimplicit-fallthrough
    -Wunused
    $<$<CXX_COMPILER_ID:GNU>:-Wduplicated-cond -Wduplicated-branches -Wlogical-op>)

# g++ 12 sees overlaps and overruns in std::string's own inlined code that are not there.
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    target_compile_options(parvel_warnings INTERFACE
        -Wno-restrict -Wno-array-bounds -Wno-stringop-overflow -Wno-stringop-overread)
endif()

# The system's own IUnknown has an accessible destructor that is not virtual, and so has all that derives from it.
if(WIN32)
    target_compile_options(parvel_warnings INTERFACE -Wno-non-virtual-dtor)
endif()
