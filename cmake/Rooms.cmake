# parvel_room(<name> [DEPENDS <room>...])
#
# Makes the library parvel_<name> from src/<name>/*.cpp, and for a room that knows the operating system also from its
# folder for the target system. New files are picked up by the next build. A room without sources is an empty library.
function(parvel_room name)
    cmake_parse_arguments(room "" "" "DEPENDS" ${ARGN})
    set(folder ${CMAKE_CURRENT_SOURCE_DIR}/${name})
    string(TOLOWER ${CMAKE_SYSTEM_NAME} system)
    file(GLOB sources CONFIGURE_DEPENDS ${folder}/*.cpp ${folder}/${system}/*.cpp)

    set(target parvel_${name})
    list(TRANSFORM room_DEPENDS PREPEND parvel_)
    if(NOT sources)
        add_library(${target} INTERFACE)
        target_link_libraries(${target} INTERFACE ${room_DEPENDS})
        return()
    endif()
    add_library(${target} STATIC ${sources})
    target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/include)
    target_link_libraries(${target} PUBLIC ${room_DEPENDS} PRIVATE $<BUILD_INTERFACE:parvel_warnings>)
endfunction()
