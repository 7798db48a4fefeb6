# What every target is compiled with.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib/static")

find_program(TWQT_CCACHE ccache)
if(TWQT_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    # Paths are hashed relative to the tree, so that clones share their results; files compiled with
    # a precompiled header count as what that header says.
    set(CMAKE_CXX_COMPILER_LAUNCHER
        ${CMAKE_COMMAND} -E env CCACHE_BASEDIR=${CMAKE_SOURCE_DIR} CCACHE_NOHASHDIR=1
        CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime ${TWQT_CCACHE})
endif()
find_program(TWQT_MOLD mold)
if(TWQT_MOLD)
    add_link_options(-fuse-ld=mold)
endif()

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # GCC 12 sees overlapping copies in the assignment of a literal to a std::string; there are none.
    add_compile_options(-Wno-restrict)
    # Fully optimised, it loses track of a vector that grows in inlined code; other builds judge these.
    add_compile_options("$<$<CONFIG:Release>:-Wno-use-after-free;-Wno-stringop-overflow>")
endif()
# Installed headers and sources name their includes from the root or by bare name.
include_directories("${CMAKE_SOURCE_DIR}")
add_compile_definitions(_FILE_OFFSET_BITS=64)
if(TWQT_TOOLBOX_TRACE)
    add_compile_definitions(TWQT_TOOLBOX_TRACE=1)
endif()
if(TWQT_SANITIZE)
    add_compile_options(-fsanitize=${TWQT_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${TWQT_SANITIZE})
    # What the sanitizers put between lets GCC 12 lose track of sizes; plain builds judge these.
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        add_compile_options(-Wno-stringop-overflow -Wno-stringop-overread -Wno-array-bounds -Wno-maybe-uninitialized)
    endif()
endif()

find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
