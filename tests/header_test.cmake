# The public header compiles alone, without a warning, with every compiler that is here.
#   cmake -DROOT=<checkout> -DWORK=<scratch folder> -DCXX=<compiler of the build> -P header_test.cmake
cmake_minimum_required(VERSION 3.25)

file(WRITE ${WORK}/alone.cpp "#include <parvel/parvel.h>\n")
set(compilers ${CXX})
foreach(name g++ clang++ i686-w64-mingw32-g++)
    find_program(${name}_path ${name})
    if(${name}_path)
        list(APPEND compilers ${${name}_path})
    endif()
endforeach()
list(REMOVE_DUPLICATES compilers)
foreach(compiler IN LISTS compilers)
    foreach(standard 17 20)
        execute_process(
            COMMAND ${compiler} -std=c++${standard} -Wall -Wextra -pedantic -Wshadow -Wconversion -Wold-style-cast -Werror
                -fsyntax-only -I${ROOT}/include ${WORK}/alone.cpp
            COMMAND_ERROR_IS_FATAL ANY)
        message(STATUS "${compiler}, C++${standard}")
    endforeach()
endforeach()
