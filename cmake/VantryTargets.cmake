# Flags that everything shares, and the functions that make a library, a test program or a fuzz target.

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
    # The check of virtual tables opens a pipe, and gives a wrong alarm where a test has used up all descriptors.
    target_compile_options(vantry_options INTERFACE -fsanitize=${VANTRY_SANITIZERS} -fno-omit-frame-pointer
        -fno-sanitize-recover=all -fno-sanitize=vptr)
    # The tests' own code is long and runs once: optimising it and looking for undefined behaviour in it would take more
    # than half the time of the whole build.
    target_compile_options(vantry_options INTERFACE
        "$<$<BOOL:$<TARGET_PROPERTY:VANTRY_TEST_CODE>>:-O0;-fno-sanitize=undefined>")
    target_link_options(vantry_options INTERFACE -fsanitize=${VANTRY_SANITIZERS})
    # GCC takes what a sanitizer adds for reads of unset variables; the release build keeps the warning.
    target_compile_options(vantry_options INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
else()
    target_compile_definitions(vantry_options INTERFACE $<$<CONFIG:Release>:_FORTIFY_SOURCE=2>)
    target_link_options(vantry_options INTERFACE -Wl,-z,relro,-z,now)
endif()

define_property(TARGET PROPERTY VANTRY_TEST_CODE BRIEF_DOCS "Whether a target is code of tests")

# vantry_precompile(<target> FROM <owner> [<header>...])
# Lets the target have the precompiled headers of the owner, or make them from these if it is the owner itself. They
# change nothing but the time of the build: each file still includes what it uses. Clang wants the same macros for all
# who share them, which Qt's modules don't give.
function(vantry_precompile target)
    cmake_parse_arguments(PARSE_ARGV 1 ARG "" "FROM" "")
    if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        return()
    endif()
    if(target STREQUAL ARG_FROM)
        target_precompile_headers(${target} PRIVATE ${ARG_UNPARSED_ARGUMENTS})
    else()
        target_precompile_headers(${target} REUSE_FROM ${ARG_FROM})
    endif()
endfunction()

# What most of src/ includes.
set(vantry_common_headers
    <QCoreApplication> <QDateTime> <QDir> <QFile> <QFileInfo> <QHash> <QList> <QObject> <QSet> <QString> <QStringList>
    <QVariant> <algorithm> <array> <chrono> <functional> <memory> <optional> <string> <string_view> <utility> <variant>
    <vector>)

# vantry_library(<folder> SOURCES <file>... [USES <folder or library>...])
# One static library for one folder of src/. What stands behind USES is all that the folder may include.
function(vantry_library folder)
    cmake_parse_arguments(PARSE_ARGV 1 ARG "" "" "SOURCES;USES")
    string(REPLACE "/" "_" target "vantry_${folder}")
    add_library(${target} STATIC ${ARG_SOURCES})
    target_link_libraries(${target} PUBLIC vantry_options ${ARG_USES})
    vantry_precompile(${target} FROM vantry_base ${vantry_common_headers})
endfunction()

# vantry_qml_library(<folder> URI <module> SOURCES <file>... QML <file>... [USES <folder or library>...])
# A library whose folder is also a QML module. Programs link the library and its plugin (vantry_<folder>plugin), and
# QML finds the module under qrc:/qt/qml.
function(vantry_qml_library folder)
    cmake_parse_arguments(PARSE_ARGV 1 ARG "" "URI" "SOURCES;QML;USES")
    string(REPLACE "/" "_" target "vantry_${folder}")
    string(REPLACE "." "/" module_folder "${ARG_URI}")
    foreach(file IN LISTS ARG_QML)
        cmake_path(GET file FILENAME name)
        set_source_files_properties(${file} PROPERTIES QT_RESOURCE_ALIAS ${name})
    endforeach()
    qt_add_library(${target} STATIC)
    qt_add_qml_module(${target}
        URI ${ARG_URI}
        VERSION 1.0
        DEPENDENCIES QtQuick
        RESOURCE_PREFIX /qt/qml
        OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/qml/${module_folder}
        IMPORT_PATH ${CMAKE_BINARY_DIR}/qml
        QML_FILES ${ARG_QML}
        SOURCES ${ARG_SOURCES})
    # The code that registers the types includes their headers without their folder.
    target_include_directories(${target} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
    target_link_libraries(${target} PUBLIC vantry_options ${ARG_USES} Qt6::Quick)
    target_link_libraries(${target}plugin PRIVATE vantry_options)
    vantry_precompile(${target} FROM vantry_base ${vantry_common_headers})
    # What Qt's compiler for QML writes isn't ours to mend, and with sanitizers takes minutes to compile.
    set(options -w)
    if(VANTRY_SANITIZERS)
        list(APPEND options -O0 -fno-sanitize=all)
    endif()
    get_target_property(compiled ${target} SOURCES)
    list(FILTER compiled INCLUDE REGEX "/qmlcache/")
    set_source_files_properties(${compiled} PROPERTIES COMPILE_OPTIONS "${options}" SKIP_PRECOMPILE_HEADERS ON)
endfunction()

# What the sanitizers are told, for every test. Set on the tests, so that a plain ctest has it, too.
set(vantry_test_environment
    "ASAN_OPTIONS=detect_stack_use_after_return=1:strict_string_checks=1"
    "LSAN_OPTIONS=suppressions=${CMAKE_SOURCE_DIR}/tests/lsan.supp:print_suppressions=0"
    "TSAN_OPTIONS=suppressions=${CMAKE_SOURCE_DIR}/tests/tsan.supp:halt_on_error=1:second_deadlock_stack=1"
    "UBSAN_OPTIONS=print_stacktrace=1")

# vantry_test_code(<target>): how a target is built that only tests use. They may write QStrings as plain literals.
function(vantry_test_code target)
    target_compile_options(${target} PRIVATE -UQT_NO_CAST_FROM_ASCII)
    set_target_properties(${target} PROPERTIES VANTRY_TEST_CODE ON)
    vantry_precompile(${target} FROM vantry_test_support
        ${vantry_common_headers} <QProcess> <QTemporaryDir> <gmock/gmock.h> <gtest/gtest.h> <thread>)
endfunction()

# vantry_test(<name> SOURCES <file>... [USES <library>...] [LABELS <label>...] [PROPERTIES <name> <value>...])
# One test program. Each of its tests is a test of its own for ctest.
function(vantry_test name)
    cmake_parse_arguments(PARSE_ARGV 1 ARG "" "" "SOURCES;USES;LABELS;PROPERTIES")
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE vantry_test_support ${ARG_USES})
    target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR}/tests)
    vantry_test_code(${name})
    if(ARG_LABELS)
        list(APPEND ARG_PROPERTIES LABELS "${ARG_LABELS}")
    endif()
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT 120 ${ARG_PROPERTIES})
    # gtest_discover_tests takes no property that is a list, as ENVIRONMENT is: it is set behind it.
    set(script ${CMAKE_CURRENT_BINARY_DIR}/${name}-environment.cmake)
    file(CONFIGURE OUTPUT ${script} @ONLY CONTENT [=[
if(@name@_TESTS)
    set_tests_properties(${@name@_TESTS} PROPERTIES ENVIRONMENT "@vantry_test_environment@")
endif()
]=])
    set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${script})
endfunction()

# vantry_fuzz(<name> USES <library>...)
# The fuzz target fuzz/<name>Fuzzer.cpp, and a test that runs it for a short time, starting from fuzz/corpus/<name>.
# What it finds new is kept in the build folder, and used again.
function(vantry_fuzz name)
    cmake_parse_arguments(PARSE_ARGV 1 ARG "" "" "USES")
    set(target ${name}Fuzzer)
    set(found ${CMAKE_CURRENT_BINARY_DIR}/found/${name})
    file(MAKE_DIRECTORY ${found})
    add_executable(${target} ${target}.cpp)
    target_link_libraries(${target} PRIVATE ${ARG_USES})
    target_link_options(${target} PRIVATE -fsanitize=fuzzer)
    add_dependencies(fuzzers ${target})
    add_test(NAME ${target}
        COMMAND ${target} -max_total_time=${VANTRY_FUZZ_SECONDS} -timeout=10 -rss_limit_mb=2048 -print_final_stats=1
            -artifact_prefix=${CMAKE_CURRENT_BINARY_DIR}/ ${found} ${CMAKE_CURRENT_SOURCE_DIR}/corpus/${name})
    set_tests_properties(${target} PROPERTIES TIMEOUT 600 LABELS fuzz ENVIRONMENT "${vantry_test_environment}")
endfunction()
