# Flags that everything shares, and the two functions that make a library or a test program.

add_library(vantry_options INTERFACE)
target_compile_options(vantry_options INTERFACE
    -Wall -Wextra -Wshadow -Wpedantic -Wnon-virtual-dtor -Woverloaded-virtual -Wimplicit-fallthrough -Werror
    -fvisibility=hidden -fstack-protector-strong)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(vantry_options INTERFACE -Wlogical-op -Wduplicated-cond)
endif()
target_compile_definitions(vantry_options INTERFACE
    QT_NO_KEYWORDS QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_CAST_FROM_BYTEARRAY
    QT_NO_URL_CAST_FROM_STRING QT_NO_NARROWING_CONVERSIONS_IN_CONNECT QT_USE_QSTRINGBUILDER
    ASIO_STANDALONE ASIO_NO_DEPRECATED)
target_include_directories(vantry_options INTERFACE ${CMAKE_SOURCE_DIR}/src)
if(VANTRY_SANITIZERS)
    target_compile_options(vantry_options INTERFACE -fsanitize=${VANTRY_SANITIZERS} -fno-omit-frame-pointer
        -fno-sanitize-recover=all)
    target_link_options(vantry_options INTERFACE -fsanitize=${VANTRY_SANITIZERS})
else()
    target_compile_definitions(vantry_options INTERFACE $<$<CONFIG:Release>:_FORTIFY_SOURCE=2>)
    target_link_options(vantry_options INTERFACE -Wl,-z,relro,-z,now)
endif()

# vantry_library(<folder> SOURCES <file>... [USES <folder or library>...])
# One static library for one folder of src/. What stands behind USES is all that the folder may include.
function(vantry_library folder)
    cmake_parse_arguments(PARSE_ARGV 1 ARG "" "" "SOURCES;USES")
    string(REPLACE "/" "_" target "vantry_${folder}")
    add_library(${target} STATIC ${ARG_SOURCES})
    target_link_libraries(${target} PUBLIC vantry_options ${ARG_USES})
endfunction()

# vantry_test(<name> SOURCES <file>... [USES <library>...] [LABELS <label>...] [PROPERTIES <name> <value>...])
function(vantry_test name)
    cmake_parse_arguments(PARSE_ARGV 1 ARG "" "" "SOURCES;USES;LABELS;PROPERTIES")
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE vantry_test_support ${ARG_USES})
    target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR}/tests)
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST PROPERTIES
        TIMEOUT 120 LABELS "${ARG_LABELS}" ${ARG_PROPERTIES})
endfunction()
