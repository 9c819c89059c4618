# The compile flags every target shares, and the functions that make the project's targets.

add_library(zorvel_flags INTERFACE)
target_compile_definitions(zorvel_flags INTERFACE
    QT_NO_CAST_TO_ASCII QT_NO_URL_CAST_FROM_STRING QT_NO_FOREACH QT_STRICT_ITERATORS
    QT_DISABLE_DEPRECATED_BEFORE=0x060400)
if(MSVC)
    target_compile_options(zorvel_flags INTERFACE /W4 /utf-8 $<$<BOOL:${ZORVEL_WERROR}>:/WX>)
else()
    target_compile_options(zorvel_flags INTERFACE
        -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wextra-semi
        $<$<BOOL:${ZORVEL_WERROR}>:-Werror>)
endif()
# The many test programs spend most of their build in the linker.
find_program(ZORVEL_LLD ld.lld)
if(ZORVEL_LLD AND NOT MSVC AND NOT ZORVEL_SANITIZE)
    target_link_options(zorvel_flags INTERFACE -fuse-ld=lld)
endif()
if(ZORVEL_SANITIZE)
    target_compile_options(zorvel_flags INTERFACE
        -fsanitize=${ZORVEL_SANITIZE} -fno-omit-frame-pointer
        $<$<STREQUAL:${ZORVEL_SANITIZE},address>:-fsanitize=undefined>)
    target_link_options(zorvel_flags INTERFACE
        -fsanitize=${ZORVEL_SANITIZE}
        $<$<STREQUAL:${ZORVEL_SANITIZE},address>:-fsanitize=undefined>)
endif()

# What most sources read takes the compiler longer than all the rest of them, so that a build can do it once, with
# zorvel_diagnostics, on which everything depends. A source includes what it uses all the same: other builds, and
# clang-tidy, go without.
set(zorvel_common_headers
    <algorithm> <array> <atomic> <chrono> <cmath> <functional> <memory> <mutex> <optional> <vector>
    <QDateTime> <QElapsedTimer> <QHash> <QJsonArray> <QJsonDocument> <QJsonObject> <QObject> <QPointer> <QSet>
    <QString> <QStringList> <QTimer> <QUrl> <QVariant>)
if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    set(ZORVEL_PRECOMPILE OFF)
endif()

# zorvel_precompile(TARGET... [OWN]): OWN is for a target with compile flags that the common headers notice.
function(zorvel_precompile)
    cmake_parse_arguments(P "OWN" "" "" ${ARGN})
    if(NOT ZORVEL_PRECOMPILE)
        return()
    endif()
    foreach(target IN LISTS P_UNPARSED_ARGUMENTS)
        if(P_OWN OR target STREQUAL "zorvel_diagnostics")
            target_precompile_headers(${target} PRIVATE ${zorvel_common_headers})
        else()
            target_precompile_headers(${target} REUSE_FROM zorvel_diagnostics)
        endif()
    endforeach()
endfunction()

# zorvel_add_library(NAME SOURCES...): a static library of one room, included as "<folder>/<Header>.h".
function(zorvel_add_library name)
    add_library(${name} STATIC ${ARGN})
    set_target_properties(${name} PROPERTIES AUTOMOC ON)
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(${name} PRIVATE zorvel_flags)
    zorvel_precompile(${name})
endfunction()

# zorvel_add_test(NAME <name> LABEL <unit|qml> SOURCES ... LIBRARIES ... [DISPLAY] [SERIAL] [TIMEOUT s] [ARGS ...]):
# a QtTest program registered with CTest. Without DISPLAY it runs on Qt's offscreen platform; with it, on the
# X display that test.sh starts.
function(zorvel_add_test)
    cmake_parse_arguments(T "DISPLAY;SERIAL" "NAME;LABEL;TIMEOUT" "SOURCES;LIBRARIES;ARGS" ${ARGN})
    add_executable(${T_NAME} ${T_SOURCES})
    set_target_properties(${T_NAME} PROPERTIES AUTOMOC ON)
    target_include_directories(${T_NAME} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    target_link_libraries(${T_NAME} PRIVATE zorvel_flags ${T_LIBRARIES} Qt6::Test)
    zorvel_precompile(${T_NAME})
    add_test(NAME ${T_NAME} COMMAND ${T_NAME} ${T_ARGS})
    if(NOT T_TIMEOUT)
        set(T_TIMEOUT 60)
    endif()
    set_tests_properties(${T_NAME} PROPERTIES LABELS ${T_LABEL} TIMEOUT ${T_TIMEOUT} RUN_SERIAL ${T_SERIAL})
    set(environment "TSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/cmake/tsan.supp")
    if(NOT T_DISPLAY)
        list(APPEND environment "QT_QPA_PLATFORM=offscreen")
    endif()
    if(ZORVEL_SANITIZE STREQUAL "address")
        target_sources(${T_NAME} PRIVATE ${PROJECT_SOURCE_DIR}/tests/support/KeepLibraries.cpp)
        list(APPEND environment
            "LSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tests/support/harness/leaks.txt:print_suppressions=0")
    endif()
    set_tests_properties(${T_NAME} PROPERTIES ENVIRONMENT "${environment}")
endfunction()
