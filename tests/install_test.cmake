# What `make install` puts down is whole, can be moved, and serves a host by CMake and by pkg-config's file.
#   cmake -DBUILD=<build folder> -DROOT=<checkout> -DWORK=<scratch folder> -DCXX=<compiler> -DFLAGS=<of the build>
#         -DLIBDIR=lib -P install_test.cmake
cmake_minimum_required(VERSION 3.25)

function(run)
    execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY OUTPUT_QUIET)
endfunction()

file(REMOVE_RECURSE ${WORK})
set(ENV{DESTDIR} ${WORK}/stage)
run(${CMAKE_COMMAND} --install ${BUILD} --prefix /opt/parvel)
unset(ENV{DESTDIR})
file(RENAME ${WORK}/stage/opt/parvel ${WORK}/moved)

foreach(name bin/parvel include/parvel/parvel.h include/parvel/types.h ${LIBDIR}/libparvel.so
        ${LIBDIR}/cmake/parvel/parvelConfig.cmake ${LIBDIR}/pkgconfig/parvel.pc share/man/man1/parvel.1)
    if(NOT EXISTS ${WORK}/moved/${name})
        message(FATAL_ERROR "not installed: ${name}")
    endif()
endforeach()
run(${WORK}/moved/bin/parvel --version)

run(${CMAKE_COMMAND} -S ${ROOT}/tests/consumer -B ${WORK}/consumer -DCMAKE_PREFIX_PATH=${WORK}/moved
    -DWALK_SOURCE=${ROOT}/examples/walk.cpp -DCMAKE_CXX_COMPILER=${CXX} -DCMAKE_CXX_FLAGS=${FLAGS})
run(${CMAKE_COMMAND} --build ${WORK}/consumer)
file(WRITE ${WORK}/menu.xml "<menu><dish price='3'>Soup</dish></menu>")
execute_process(COMMAND ${WORK}/consumer/walk WORKING_DIRECTORY ${WORK} OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
if(NOT output STREQUAL "Soup: 3\n")
    message(FATAL_ERROR "the consumer printed: ${output}")
endif()

# Only what pkg-config reads from the file: variables and the two lines of flags.
file(STRINGS ${WORK}/moved/${LIBDIR}/pkgconfig/parvel.pc lines)
set(pcfiledir ${WORK}/moved/${LIBDIR}/pkgconfig)
foreach(line IN LISTS lines)
    if(line MATCHES "^([a-z]+)=(.*)$")
        string(CONFIGURE "${CMAKE_MATCH_2}" ${CMAKE_MATCH_1})
    elseif(line MATCHES "^(Cflags|Libs): (.*)$")
        string(CONFIGURE "${CMAKE_MATCH_2}" ${CMAKE_MATCH_1})
    endif()
endforeach()
separate_arguments(compilerFlags UNIX_COMMAND "${FLAGS} ${Cflags}")
separate_arguments(linkerFlags UNIX_COMMAND "${Libs}")
run(${CXX} -std=c++17 ${compilerFlags} ${ROOT}/examples/walk.cpp -o ${WORK}/walk ${linkerFlags})
