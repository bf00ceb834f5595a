# The same sources, built in another folder, give the same bytes.
#   cmake -DROOT=<checkout> -DBUILD=<build folder> -DWORK=<scratch folder> -P reproducible_test.cmake
cmake_minimum_required(VERSION 3.25)

file(REMOVE_RECURSE ${WORK})
foreach(part CMakeLists.txt CMakePresets.json cmake docs include src tools)
    file(COPY ${ROOT}/${part} DESTINATION ${WORK}/elsewhere)
endforeach()
foreach(command "--preset;windows" "--build;--preset;windows;--target;parvel;parvel_cli")
    execute_process(
        COMMAND ${CMAKE_COMMAND} ${command} WORKING_DIRECTORY ${WORK}/elsewhere
        OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endforeach()
foreach(name Parvel.DLL parvel.exe)
    file(SHA256 ${BUILD}/${name} here)
    file(SHA256 ${WORK}/elsewhere/build/windows/${name} there)
    if(NOT here STREQUAL there)
        message(FATAL_ERROR "${name} differs: kept in ${WORK}/elsewhere/build/windows")
    endif()
endforeach()
file(REMOVE_RECURSE ${WORK})
