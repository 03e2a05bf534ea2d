# Every test runs inside a virtual unit (sim/virtual-unit): a sandbox with its own root,
# network namespace, serial pseudo-terminals and simulator state. If the sandbox cannot be
# made the test fails; nothing here ever runs a test on the host itself.
#
#   benchtest_add_test_executable(<name> <source>... [LIBS <libs>...])
#       builds a Qt Test executable with the resources and the shared test support
#       (tests/common/testsupport.h); every test executable is made this way.
#   benchtest_add_test(NAME <name> TARGET <executable target>
#                      [UNIT <virtual-unit options>...] [ARGS <test arguments>...]
#                      [TIMEOUT <seconds>] [LABELS <labels>...])
#       runs it in a virtual unit; call it once per unit configuration.
#   benchtest_add_qtest(<name> <source> LIBS <libs>... [UNIT ...] [ARGS ...] [TIMEOUT s]
#                       [LABELS ...])
#       both at once, for the usual one executable run once.
#
#   benchtest_add_script_test(NAME <name> COMMAND <host command>... [UNIT ...] [TIMEOUT s]
#                             [LABELS ...] [OWN_UNITS])
#       runs a command of the host (a script of the source tree, a host tool) in a virtual unit;
#       it is never run under the emulator. With OWN_UNITS the command is a script that makes
#       its own virtual units or virtual bench (a walk, a benchmark) and runs the program only
#       in those; it is started as it is (UNIT does not apply), one at a time with the other
#       tests that make a bench.
#
# In a cross build (cmake/toolchain-armhf.cmake) test executables run under the emulator named
# by CMAKE_CROSSCOMPILING_EMULATOR, inside the unit as well; tests know it by the environment
# variable BENCHTEST_EMULATED=1 and the command by BENCHTEST_EMULATOR.
#
# UNIT options are passed to sim/virtual-unit before the "--", e.g. UNIT --dip 1 --screen 480x272.
# The source and build trees are bound read-only: a test cannot change what the host later
# builds or runs. Each test gets a fresh writable directory of its own, named by
# BENCHTEST_SCRATCH_DIR inside the unit (and its working directory); it is kept when the test
# fails and removed when it passes.
set(BENCHTEST_VIRTUAL_UNIT ${PROJECT_SOURCE_DIR}/sim/virtual-unit)

function(benchtest_add_test_executable name)
    cmake_parse_arguments(T "" "" "LIBS" ${ARGN})
    add_executable(${name} ${T_UNPARSED_ARGUMENTS} $<TARGET_OBJECTS:resources>)
    target_link_libraries(${name} PRIVATE Qt${QT_VERSION_MAJOR}::Test testsupport ${T_LIBS})
endfunction()

set(BENCHTEST_EMULATOR)
if(CMAKE_CROSSCOMPILING AND CMAKE_CROSSCOMPILING_EMULATOR)
    set(BENCHTEST_EMULATOR ${CMAKE_CROSSCOMPILING_EMULATOR})
    list(JOIN BENCHTEST_EMULATOR " " BENCHTEST_EMULATOR_TEXT)
    set(BENCHTEST_EMULATOR_ENV
        BENCHTEST_EMULATED=1 "BENCHTEST_EMULATOR=${BENCHTEST_EMULATOR_TEXT}"
        # Qt Test gives each test function five minutes; emulated, a long one needs more.
        QTEST_FUNCTION_TIMEOUT=1200000)
endif()

function(benchtest_add_test)
    cmake_parse_arguments(T "" "NAME;TARGET;TIMEOUT" "UNIT;ARGS;LABELS" ${ARGN})
    if(NOT T_TIMEOUT)
        set(T_TIMEOUT 300)
    endif()
    if(BENCHTEST_EMULATOR)
        # Emulated code runs several times slower.
        math(EXPR T_TIMEOUT "${T_TIMEOUT} * 4")
    endif()
    benchtest_add_script_test(NAME ${T_NAME} TIMEOUT ${T_TIMEOUT} UNIT ${T_UNIT} LABELS ${T_LABELS}
        COMMAND ${BENCHTEST_EMULATOR} $<TARGET_FILE:${T_TARGET}> ${T_ARGS})
endfunction()

function(benchtest_add_script_test)
    cmake_parse_arguments(T "OWN_UNITS" "NAME;TIMEOUT" "COMMAND;UNIT;LABELS" ${ARGN})
    if(NOT T_TIMEOUT)
        set(T_TIMEOUT 300)
    endif()
    if(T_OWN_UNITS)
        if(T_UNIT)
            message(FATAL_ERROR "${T_NAME}: a test that makes its own units takes no UNIT options")
        endif()
        add_test(NAME ${T_NAME} COMMAND ${T_COMMAND})
        set_tests_properties(${T_NAME} PROPERTIES RESOURCE_LOCK virtual-bench)
    else()
        add_test(NAME ${T_NAME}
            COMMAND ${BENCHTEST_VIRTUAL_UNIT}
                --ro-bind ${PROJECT_SOURCE_DIR} --ro-bind ${PROJECT_BINARY_DIR} --scratch
                ${T_UNIT}
                -- ${T_COMMAND})
    endif()
    set_tests_properties(${T_NAME} PROPERTIES TIMEOUT ${T_TIMEOUT} LABELS "${T_LABELS}")
    if(BENCHTEST_EMULATOR)
        set_tests_properties(${T_NAME} PROPERTIES ENVIRONMENT "${BENCHTEST_EMULATOR_ENV}")
    endif()
endfunction()

function(benchtest_add_qtest name source)
    cmake_parse_arguments(T "" "TIMEOUT" "LIBS;UNIT;ARGS;LABELS" ${ARGN})
    benchtest_add_test_executable(${name} ${source} LIBS ${T_LIBS})
    set(extra)
    if(T_TIMEOUT)
        list(APPEND extra TIMEOUT ${T_TIMEOUT})
    endif()
    benchtest_add_test(NAME ${name} TARGET ${name} UNIT ${T_UNIT} ARGS ${T_ARGS} LABELS ${T_LABELS} ${extra})
endfunction()
