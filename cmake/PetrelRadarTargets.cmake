# What every target of this project is built with. All of it is private to the target: nothing here
# reaches a program that links the library.

# petrelradar_target(<target>): our warnings, and sanitizers where they were asked for.
function(petrelradar_target target)
    target_compile_options(${target} PRIVATE
        -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wold-style-cast
        $<$<BOOL:${PETRELRADAR_WERROR}>:-Werror>)
    set_target_properties(${target} PROPERTIES
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON)
    # Installed, programs and libraries find ours wherever the tree is moved to. A program that does
    # not use libpetrel-shared itself leaves finding it to the library that does.
    get_target_property(type ${target} TYPE)
    if(type STREQUAL EXECUTABLE)
        file(RELATIVE_PATH from_programs ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
        set_target_properties(${target} PROPERTIES INSTALL_RPATH $ORIGIN/${from_programs})
    else()
        set_target_properties(${target} PROPERTIES INSTALL_RPATH $ORIGIN)
    endif()
    # Recordings may pass 2 GiB; _TIME_BITS stays alone, because timeval is part of the interface.
    if(CMAKE_SIZEOF_VOID_P EQUAL 4)
        target_compile_definitions(${target} PRIVATE _FILE_OFFSET_BITS=64)
    endif()
    if(PETRELRADAR_SANITIZE)
        # The check of virtual tables opens a pipe, which fails where a test has taken all descriptors.
        target_compile_options(${target} PRIVATE
            -fsanitize=${PETRELRADAR_SANITIZE} -fno-sanitize=vptr -fno-omit-frame-pointer
            -fno-sanitize-recover=all)
        target_link_options(${target} PRIVATE -fsanitize=${PETRELRADAR_SANITIZE})
    endif()
endfunction()

# petrelradar_precompile(<target> <headers>): others' large headers that many of the target's sources
# include, compiled once where that was asked for.
function(petrelradar_precompile target)
    if(PETRELRADAR_PRECOMPILE)
        target_precompile_headers(${target} PRIVATE ${ARGN})
    endif()
endfunction()

# petrelradar_shared_library(<target> <version script>): a shared object that exports what the
# version script lists, in which every undefined symbol is an error at link time.
function(petrelradar_shared_library target version_script)
    petrelradar_target(${target})
    target_link_options(${target} PRIVATE "LINKER:--version-script=${version_script}")
    set_target_properties(${target} PROPERTIES LINK_DEPENDS ${version_script})
    # Clang links a sanitizer's runtime into the program only.
    if(NOT (PETRELRADAR_SANITIZE AND CMAKE_CXX_COMPILER_ID MATCHES Clang))
        target_link_options(${target} PRIVATE "LINKER:-z,defs")
    endif()
endfunction()
