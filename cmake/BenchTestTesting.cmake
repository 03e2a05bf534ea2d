# Every test is registered by benchtest_add_test, and by nothing else: it knows where a test
# runs (a virtual unit, a virtual bench, or a host command that starts units itself), its
# time-out, its environment and its kind. Nothing here ever runs a test on the host itself:
# if the sandbox cannot be made the test fails.
#
#   benchtest_add_test(NAME <name> KIND <kind>
#                      { TARGET <executable target> [ARGS <test arguments>...]
#                      | COMMAND <host command>...
#                      | OWN_UNITS COMMAND <host command>... }
#                      [UNIT <virtual-unit options>...]
#                      [BENCH [<virtual-bench options>...]] [TESTER <command line>]
#                      [TIMEOUT <seconds>] [LABELS <labels>...] [ENVIRONMENT <VAR=value>...]
#                      [RESOURCE_LOCK <name>] [ON_LINUX_BACKEND])
#
#   Where it runs:
#     TARGET     a test executable, in a virtual unit (under the emulator in a cross build);
#     COMMAND    a command of the host (a script of the source tree, a host tool), in a virtual
#                unit; never under the emulator;
#     BENCH or TESTER
#                TARGET or COMMAND runs in the unit under test of a virtual bench (bench
#                options after BENCH, the slave tester's command line after TESTER);
#     OWN_UNITS  COMMAND is run as it is: it starts virtual units or benches itself and looks at
#                the host afterwards (the sandbox's own tests, the walks).
#   The source and build trees are bound read-only; each unit test gets a fresh writable
#   directory, BENCHTEST_SCRATCH_DIR inside (and its working directory), kept when it fails.
#
#   KIND, exactly one, which chooses the builds that run it (scripts/run-tests):
#     unit      logic without a screen: device services, parsers, records, threads
#     widget    a screen, a keyboard or the main widget, offscreen or on a unit's own Xvfb
#     wordsize  what depends on the unit's word sizes and structure layouts (input events,
#               FRAM records, ioctls of the linux backend, touch packets); the armhf build runs it
#     sandbox   runs no built code: the virtual unit and bench themselves, checks of the tree
#     e2e       programs on a virtual bench
#     walk      whole walks of the scripted operator
#   LABELS add to it: threads (also run under ThreadSanitizer), armhf (also run in the armhf
#   build: it needs the unit's word sizes too), bench (uses the virtual bench; added by BENCH),
#   calibration, ...
#
#   Default time-out 300 s; in a cross build every time-out is four times as long (emulated
#   code runs several times slower). ENVIRONMENT is appended to what the build sets, never
#   replaces it. In a build on the linux backend only tests marked ON_LINUX_BACKEND are
#   registered: the others test the simulated devices.
#
#   benchtest_add_test_executable(<name> <source>... [LIBS <libs>...])
#       builds a Qt Test executable with the resources and the test support (tests/support).
#   benchtest_add_qtest(<name> <source> KIND <kind> [LIBS <libs>...] [any option of
#                       benchtest_add_test but NAME and TARGET])
#       both at once, for the usual one executable run once.
#
# In a cross build (cmake/toolchain-armhf.cmake) tests know the emulator by the environment
# variables BENCHTEST_EMULATED=1 and BENCHTEST_EMULATOR.
set(BENCHTEST_VIRTUAL_UNIT ${PROJECT_SOURCE_DIR}/sim/virtual-unit)
set(BENCHTEST_VIRTUAL_BENCH ${PROJECT_SOURCE_DIR}/sim/virtual-bench)
set(BENCHTEST_KINDS unit widget wordsize sandbox e2e walk)

function(benchtest_add_test_executable name)
    cmake_parse_arguments(T "" "" "LIBS" ${ARGN})
    add_executable(${name} ${T_UNPARSED_ARGUMENTS} $<TARGET_OBJECTS:resources>)
    target_link_libraries(${name} PRIVATE Qt${QT_VERSION_MAJOR}::Test testsupport ${T_LIBS})
    # Qt's widget and test headers make most of a test's compile time: parsed once per build.
    target_precompile_headers(${name} REUSE_FROM testsupport)
endfunction()

set(BENCHTEST_EMULATOR)
set(BENCHTEST_EMULATOR_TEXT)
set(BENCHTEST_EMULATOR_ENV)
if(CMAKE_CROSSCOMPILING AND CMAKE_CROSSCOMPILING_EMULATOR)
    set(BENCHTEST_EMULATOR ${CMAKE_CROSSCOMPILING_EMULATOR})
    list(JOIN BENCHTEST_EMULATOR " " BENCHTEST_EMULATOR_TEXT)
    set(BENCHTEST_EMULATOR_ENV
        BENCHTEST_EMULATED=1 "BENCHTEST_EMULATOR=${BENCHTEST_EMULATOR_TEXT}"
        # Qt Test gives each test function five minutes; emulated, a long one needs more.
        QTEST_FUNCTION_TIMEOUT=1200000)
endif()

function(benchtest_add_test)
    cmake_parse_arguments(T "OWN_UNITS;ON_LINUX_BACKEND" "NAME;KIND;TARGET;TIMEOUT;TESTER;RESOURCE_LOCK"
        "ARGS;COMMAND;UNIT;BENCH;LABELS;ENVIRONMENT" ${ARGN})
    if(NOT T_NAME)
        message(FATAL_ERROR "benchtest_add_test: a test needs a NAME")
    endif()
    if(NOT T_KIND IN_LIST BENCHTEST_KINDS)
        message(FATAL_ERROR "benchtest_add_test(${T_NAME}): KIND must be one of ${BENCHTEST_KINDS}, not '${T_KIND}'")
    endif()
    if(T_UNPARSED_ARGUMENTS)
        message(FATAL_ERROR "benchtest_add_test(${T_NAME}): unknown arguments ${T_UNPARSED_ARGUMENTS}")
    endif()
    if(BENCHTEST_BACKEND STREQUAL "linux" AND NOT T_ON_LINUX_BACKEND)
        return()
    endif()
    if(T_TARGET AND T_COMMAND)
        message(FATAL_ERROR "benchtest_add_test(${T_NAME}): TARGET or COMMAND, not both")
    elseif(T_TARGET)
        set(run ${BENCHTEST_EMULATOR} $<TARGET_FILE:${T_TARGET}> ${T_ARGS})
    elseif(T_COMMAND)
        set(run ${T_COMMAND})
    else()
        message(FATAL_ERROR "benchtest_add_test(${T_NAME}): TARGET or COMMAND is needed")
    endif()
    if(NOT T_TIMEOUT)
        set(T_TIMEOUT 300)
    endif()
    if(BENCHTEST_EMULATOR)
        math(EXPR T_TIMEOUT "${T_TIMEOUT} * 4")
    endif()
    set(labels ${T_KIND} ${T_LABELS})

    set(trees --ro-bind ${PROJECT_SOURCE_DIR} --ro-bind ${PROJECT_BINARY_DIR})
    if(T_OWN_UNITS)
        set(command ${run})
    elseif(T_BENCH OR T_TESTER OR "BENCH" IN_LIST T_KEYWORDS_MISSING_VALUES)
        set(tester)
        if(T_TESTER)
            set(tester --tester "${T_TESTER}")
        endif()
        set(command ${BENCHTEST_VIRTUAL_BENCH} run ${trees} ${tester} ${T_BENCH} -- ${run})
        list(APPEND labels bench)
        set(T_RESOURCE_LOCK virtual-bench)
    else()
        set(command ${BENCHTEST_VIRTUAL_UNIT} ${trees} --scratch ${T_UNIT} -- ${run})
    endif()
    add_test(NAME ${T_NAME} COMMAND ${command})
    list(REMOVE_DUPLICATES labels)
    set_tests_properties(${T_NAME} PROPERTIES TIMEOUT ${T_TIMEOUT} LABELS "${labels}")
    set(environment ${BENCHTEST_EMULATOR_ENV} ${T_ENVIRONMENT})
    if(environment)
        set_tests_properties(${T_NAME} PROPERTIES ENVIRONMENT "${environment}")
    endif()
    if(T_RESOURCE_LOCK)
        set_tests_properties(${T_NAME} PROPERTIES RESOURCE_LOCK ${T_RESOURCE_LOCK})
    endif()
    set_property(GLOBAL APPEND PROPERTY BENCHTEST_REGISTERED ${T_NAME})
endfunction()

set(BENCHTEST_TEST_KEYWORDS OWN_UNITS ON_LINUX_BACKEND NAME KIND TARGET TIMEOUT TESTER RESOURCE_LOCK
    ARGS COMMAND UNIT BENCH LABELS ENVIRONMENT)

function(benchtest_add_qtest name source)
    # LIBS runs up to the next keyword of benchtest_add_test; the rest goes to it unchanged.
    set(libs)
    set(rest)
    set(in_libs FALSE)
    foreach(arg ${ARGN})
        if(arg STREQUAL "LIBS")
            set(in_libs TRUE)
        elseif(arg IN_LIST BENCHTEST_TEST_KEYWORDS)
            set(in_libs FALSE)
            list(APPEND rest ${arg})
        elseif(in_libs)
            list(APPEND libs ${arg})
        else()
            list(APPEND rest ${arg})
        endif()
    endforeach()
    benchtest_add_test_executable(${name} ${source} LIBS ${libs})
    benchtest_add_test(NAME ${name} TARGET ${name} ${rest})
endfunction()

# Fails the configure step for any test of DIR and below that was not registered by
# benchtest_add_test (which gives every test exactly one kind).
function(benchtest_check_kinds dir)
    get_property(registered GLOBAL PROPERTY BENCHTEST_REGISTERED)
    get_property(tests DIRECTORY ${dir} PROPERTY TESTS)
    foreach(test ${tests})
        if(NOT test IN_LIST registered)
            message(FATAL_ERROR "test ${test} (${dir}) was registered by hand: register it with "
                "benchtest_add_test and a KIND (${BENCHTEST_KINDS})")
        endif()
    endforeach()
    get_property(subdirs DIRECTORY ${dir} PROPERTY SUBDIRECTORIES)
    foreach(sub ${subdirs})
        benchtest_check_kinds(${sub})
    endforeach()
endfunction()
