# One function per kind of target. Source files are globbed: a part is its folder, and a new file
# in it needs no list to be edited.

include(TWQTLazyPackages)

# twqt_add_part(NAME [DEPENDS targets…] [PRIVATE_DEPENDS targets…] [PACKAGES pkg-config modules…]
#               [LAZY_PACKAGES pkg-config modules that are loaded at the first call…])
# A folder of Engines/ or Platform/, or Sources/ itself, as a static library that becomes part of
# the shared library.
function(twqt_add_part NAME)
    cmake_parse_arguments(PART "" "" "DEPENDS;PRIVATE_DEPENDS;PACKAGES;LAZY_PACKAGES" ${ARGN})
    file(GLOB_RECURSE part_sources CONFIGURE_DEPENDS *.cpp)
    file(GLOB part_headers CONFIGURE_DEPENDS *.h)
    if(NOT part_sources)
        add_library(${NAME} INTERFACE)
        target_include_directories(${NAME} INTERFACE ${CMAKE_CURRENT_SOURCE_DIR})
        return()
    endif()
    add_library(${NAME} STATIC ${part_sources})
    target_include_directories(${NAME} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
    target_compile_definitions(${NAME} PRIVATE TWQT_BUILDING_LIBRARY=1)
    target_link_libraries(${NAME} PUBLIC ${PART_DEPENDS} PRIVATE ${PART_PRIVATE_DEPENDS} Threads::Threads)
    foreach(package IN LISTS PART_PACKAGES)
        string(MAKE_C_IDENTIFIER "PKG_${package}" prefix)
        pkg_check_modules(${prefix} REQUIRED IMPORTED_TARGET ${package})
        target_link_libraries(${NAME} PRIVATE PkgConfig::${prefix})
    endforeach()
    foreach(package IN LISTS PART_LAZY_PACKAGES)
        twqt_lazy_package(lazy_target ${package})
        target_link_libraries(${NAME} PRIVATE ${lazy_target})
    endforeach()
    set_property(TARGET ${NAME} PROPERTY TWQT_PUBLIC_HEADERS ${part_headers})
    set_property(GLOBAL APPEND PROPERTY TWQT_PARTS ${NAME})
endfunction()

# twqt_sanitizer_defaults(PROGRAM): in sanitized builds, the options and suppressions of all programs.
function(twqt_sanitizer_defaults PROGRAM)
    if(TWQT_SANITIZE)
        target_sources(${PROGRAM} PRIVATE ${CMAKE_SOURCE_DIR}/Tests/Sanitizers/SanitizerDefaults.cpp)
    endif()
endfunction()

# twqt_add_tests(NAME LINK targets…): every .cpp below the current folder as one GoogleTest
# program, each of its tests known to ctest by name.
function(twqt_add_tests NAME)
    cmake_parse_arguments(TESTS "" "" "LINK" ${ARGN})
    file(GLOB_RECURSE test_sources CONFIGURE_DEPENDS *.cpp)
    if(NOT test_sources)
        return()
    endif()
    add_executable(${NAME} ${test_sources})
    target_link_libraries(${NAME} PRIVATE ${TESTS_LINK} twqt_test_support GTest::gmock_main)
    if(TWQT_SANITIZE)
        # The tests' own code need not be fast, and GoogleTest's macros are slow to optimise.
        target_compile_options(${NAME} PRIVATE -O0)
    endif()
    twqt_sanitizer_defaults(${NAME})
    gtest_discover_tests(${NAME} NO_PRETTY_VALUES DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 120
        PROPERTIES TIMEOUT 300)
endfunction()
