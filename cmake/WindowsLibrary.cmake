# Parvel.DLL: its name, its exports, and the data it carries.
enable_language(RC)
find_program(FAKETIME faketime REQUIRED)

set(windows ${CMAKE_CURRENT_SOURCE_DIR}/module/windows)
set(exportList ${windows}/parvel.def)
set(typeLibrary ${CMAKE_CURRENT_BINARY_DIR}/lodan.tlb)

# The type library's compiler writes the time of day into its output.
add_custom_command(
    OUTPUT ${typeLibrary}
    COMMAND ${CMAKE_COMMAND} -E env TZ=UTC0 ${FAKETIME} -f "2000-01-01 00:00:00"
        ${PARVEL_WIDL} -t -o ${typeLibrary} ${windows}/lodan.idl
    DEPENDS ${windows}/lodan.idl
    VERBATIM)
set_source_files_properties(${windows}/parvel.rc PROPERTIES
    OBJECT_DEPENDS "${typeLibrary};${windows}/lodan.rgs;${windows}/parvel.manifest"
    INCLUDE_DIRECTORIES "${CMAKE_CURRENT_BINARY_DIR};${windows}")

target_sources(parvel PRIVATE ${windows}/parvel.rc ${exportList})
set_target_properties(parvel PROPERTIES
    PREFIX ""
    OUTPUT_NAME Parvel
    SUFFIX .DLL
    LINK_DEPENDS ${exportList})
target_link_options(parvel PRIVATE LINKER:--kill-at)
# The linker's own import library has lost the decoration that callers ask for.
add_custom_command(TARGET parvel POST_BUILD
    COMMAND ${CMAKE_DLLTOOL} --kill-at --input-def ${exportList} --output-lib $<TARGET_LINKER_FILE:parvel>
    VERBATIM)
