# Language level, warnings and sanitizers of everything that this project compiles.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    # What it asks for before it keeps what was compiled with a precompiled header.
    set(CMAKE_CXX_COMPILER_LAUNCHER
        ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros ${CCACHE_PROGRAM})
    add_compile_options($<$<CXX_COMPILER_ID:GNU>:-fpch-preprocess>)
endif()

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor
    -Wold-style-cast -Woverloaded-virtual)
# GCC 12 misjudges Qt's containers when it optimises at link time.
add_link_options(-Wno-alloc-size-larger-than)
if(TARQ_WARNINGS_AS_ERRORS)
    add_compile_options(-Werror)
endif()

add_compile_definitions(
    # Log lines carry no file and line, whatever the build type: the format is part of the interface.
    QT_NO_MESSAGELOGCONTEXT
    QT_NO_CAST_FROM_ASCII
    QT_NO_CAST_TO_ASCII
    QT_NO_FOREACH
    QT_NO_URL_CAST_FROM_STRING
    QT_DISABLE_DEPRECATED_BEFORE=0x060400)

if(TARQ_SANITIZERS)
    # Recovery is off, so that undefined behaviour ends a test instead of scrolling by.
    add_compile_options(-fsanitize=${TARQ_SANITIZERS} -fno-sanitize-recover=all
        -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${TARQ_SANITIZERS})
    add_library(tarq_keep_modules OBJECT ${CMAKE_CURRENT_LIST_DIR}/KeepModules.cpp)
    link_libraries($<TARGET_OBJECTS:tarq_keep_modules>)
endif()
