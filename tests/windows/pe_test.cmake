# What can be told of the Windows files without running them: their kind and flags, what they export and import, and the
# tree of resources.
#   cmake -DOBJDUMP=... -DDLL=Parvel.DLL -DTOOL=parvel.exe -DEXPECTED=tests/exports.txt -P pe_test.cmake
cmake_minimum_required(VERSION 3.25)

# Reads a file's headers to `headers`; the long list of relocations is left out.
function(read_headers file)
    execute_process(COMMAND ${OBJDUMP} -p ${file} OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX REPLACE "\n\treloc [^\n]*" "" output "${output}")
    set(headers "${output}" PARENT_SCOPE)
endfunction()

function(expect what actual expected)
    if(NOT actual STREQUAL expected)
        message(FATAL_ERROR "${what}: ${actual}\nexpected: ${expected}")
    endif()
endfunction()

function(check_image file)
    foreach(pattern "file format pei-i386" "\\(PE32\\)" "\tDYNAMIC_BASE" "\tNX_COMPAT"
            "Entry 5 [0-9a-f]+ 0*[1-9a-f][0-9a-f]* Base Relocation Directory"  # not empty
            "Time/Date\t\tThu Jan  1 00:00:00 1970")
        if(NOT headers MATCHES "${pattern}")
            message(FATAL_ERROR "${file}: no ${pattern}")
        endif()
    endforeach()
    if(headers MATCHES "relocations stripped")
        message(FATAL_ERROR "${file}: cannot be loaded anywhere")
    endif()
endfunction()

# Every Windows has these.
set(everywhere KERNEL32.dll USER32.dll SHELL32.dll SHLWAPI.dll OLEAUT32.dll msvcrt.dll ole32.dll)
function(check_imports file)
    string(REGEX MATCHALL "DLL Name: [^\n]+" imports "${headers}")
    list(TRANSFORM imports REPLACE "DLL Name: " "")
    list(LENGTH imports importCount)
    if(importCount EQUAL 0)
        message(FATAL_ERROR "${file}: imports nothing")
    endif()
    list(REMOVE_ITEM imports ${everywhere} ${ARGN})
    expect("${file} imports beside what every Windows has" "${imports}" "")
endfunction()

read_headers(${TOOL})
check_image(${TOOL})
check_imports(${TOOL} Parvel.DLL)

read_headers(${DLL})
check_image(${DLL})
check_imports(${DLL})

# The export table: its name, and names and ordinals that go together.
string(REGEX MATCH "\nName \t\t\t\t[0-9a-f]+ ([^\n]*)" ignored "${headers}")
expect("name in the export table" "${CMAKE_MATCH_1}" "Parvel.DLL")
string(REGEX MATCHALL "\\+base\\[ *[0-9]+\\] [0-9a-f]+ Export RVA" ordinals "${headers}")
list(TRANSFORM ordinals REPLACE "\\+base\\[ *([0-9]+)\\].*" "\\1")
expect("ordinals" "${ordinals}" "5;6;7;8;9;10")
string(REGEX MATCH "\\[Ordinal/Name Pointer\\] Table\n(\t\\[[^\n]*\n)*" table "${headers}")
string(REGEX MATCHALL "\\[ *[0-9]+\\] [^\n]+" rows "${table}")
list(TRANSFORM rows REPLACE "\\[ *([0-9]+)\\] (.*)" "\\1 \\2")
list(SORT rows)
expect("names" "${rows}"
    "0 KestQueryBinDocInterface;1 TransXml2Bin;2 EcSpt;3 DeSpt;4 FreeSpt;5 GetScriptResultParser")
list(TRANSFORM rows REPLACE ".* " "")
list(SORT rows)
file(STRINGS ${EXPECTED} names)
list(SORT names)
expect("names" "${rows}" "${names}")

# Types, names and languages of the resources: 6, 16 and 24 are strings, version and manifest; 0x404 is 1028 and so on.
string(REGEX MATCH "The \\.rsrc Resource Directory section:\n.*" tree "${headers}")
string(REGEX MATCHALL "Entry: (name: \\[val: [0-9a-f]+ len [0-9]+\\]: [A-Z]+|ID: 0x[0-9a-f]+)" entries "${tree}")
list(TRANSFORM entries REPLACE "Entry: (name: .*\\]: |ID: 0x0*)" "")
expect("resources" "${entries}" "REGISTRY;67;804;TYPELIB;1;404;6;7;404;10;1;404;18;2;409")
