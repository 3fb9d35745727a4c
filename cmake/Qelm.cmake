# What every target of the project shares.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
# Libraries are found beside whoever needs them, built or installed.
set(CMAKE_BUILD_RPATH "$ORIGIN")
set(CMAKE_INSTALL_RPATH "$ORIGIN;$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
set(CMAKE_BUILD_WITH_INSTALL_RPATH ON)

# The same bytes whatever folder they are built in and whenever.
add_compile_options(-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.)
if(WIN32)
    add_link_options(LINKER:--no-insert-timestamp)
endif()

add_library(qelm_options INTERFACE)
target_compile_options(qelm_options INTERFACE
    -Wall -Wextra -Wconversion -Wsign-conversion -Wshadow -Wundef $<$<BOOL:${QELM_WARNINGS_AS_ERRORS}>:-Werror>
    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Woverloaded-virtual>)
# The sanitizers of clang leave it to the program to bring their runtime.
if(NOT WIN32 AND NOT (QELM_SANITIZERS AND CMAKE_CXX_COMPILER_ID MATCHES "Clang"))
    # Modules find functions in the program that loads them.
    target_link_options(qelm_options INTERFACE LINKER:-z,relro,-z,now,-z,noexecstack
        $<$<NOT:$<STREQUAL:$<TARGET_PROPERTY:TYPE>,MODULE_LIBRARY>>:LINKER:--no-undefined>)
endif()
if(QELM_SANITIZERS)
    add_compile_options(-fsanitize=${QELM_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${QELM_SANITIZERS})
endif()

# qelm_vectorise(<file>...): sources whose loops are written for the vectoriser. GCC aligns stack slots of 32 bytes to 16
# on Windows, where an aligned move of a vector would fault; the assembler encodes each as an unaligned one, which costs
# nothing where the address is aligned.
function(qelm_vectorise)
    set_property(SOURCE ${ARGN} APPEND PROPERTY COMPILE_OPTIONS -O3)
    if(WIN32)
        set_property(SOURCE ${ARGN} APPEND PROPERTY COMPILE_OPTIONS -Wa,-muse-unaligned-vector-move)
    endif()
endfunction()

# qelm_read_exports(<variable> <file.def>): the function names of a module definition file.
function(qelm_read_exports variable definition)
    file(STRINGS ${definition} lines REGEX "^    [A-Za-z_]")
    set(names)
    foreach(line IN LISTS lines)
        string(REGEX REPLACE "^    ([A-Za-z0-9_]+).*" "\\1" name "${line}")
        list(APPEND names ${name})
    endforeach()
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${definition})
    set(${variable} ${names} PARENT_SCOPE)
endfunction()

# qelm_export_only(<target> <file.def>): the target exports what the module definition file names, and nothing else.
function(qelm_export_only target definition)
    get_filename_component(definition ${definition} ABSOLUTE)
    if(WIN32)
        target_sources(${target} PRIVATE ${definition})
        return()
    endif()
    qelm_read_exports(names ${definition})
    list(JOIN names ";\n        " names)
    set(script ${CMAKE_CURRENT_BINARY_DIR}/${target}.map)
    file(CONFIGURE OUTPUT ${script} CONTENT "{\n    global:\n        ${names};\n    local: *;\n};\n" @ONLY)
    target_link_options(${target} PRIVATE LINKER:--version-script=${script})
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${script})
endfunction()

# qelm_add_vendor_library(<target> <file.def>): what to link so that a vendor library is bound at load time.
# Made from the definition file alone: an import library with ordinals on Windows; elsewhere a library of the same name
# with empty functions, which serves the link editor only.
function(qelm_add_vendor_library target definition)
    get_filename_component(definition ${definition} ABSOLUTE)
    get_filename_component(name ${definition} NAME_WE)
    add_library(${target} INTERFACE)
    set(folder ${CMAKE_BINARY_DIR}/vendor)
    file(MAKE_DIRECTORY ${folder})
    if(WIN32)
        set(import_library ${folder}/lib${name}.a)
        # In its folder: dlltool names symbols after the library as it is called.
        add_custom_command(OUTPUT ${import_library}
            COMMAND ${CMAKE_DLLTOOL} -d ${definition} -l lib${name}.a
            WORKING_DIRECTORY ${folder} DEPENDS ${definition} VERBATIM)
    else()
        set(import_library ${folder}/lib${name}.so)
        qelm_read_exports(names ${definition})
        list(TRANSFORM names REPLACE "(.+)" "void \\1(void) {}\n" OUTPUT_VARIABLE functions)
        list(JOIN functions "" functions)
        file(CONFIGURE OUTPUT ${folder}/${name}.c CONTENT "${functions}" @ONLY)
        add_custom_command(OUTPUT ${import_library}
            COMMAND ${CMAKE_C_COMPILER} -shared -fPIC -Wl,-soname,lib${name}.so ${folder}/${name}.c -o ${import_library}
            DEPENDS ${folder}/${name}.c VERBATIM)
    endif()
    add_custom_target(${target}_import DEPENDS ${import_library})
    add_dependencies(${target} ${target}_import)
    target_link_libraries(${target} INTERFACE ${import_library})
endfunction()

# qelm_add_header_library(<target> <folder> [PACKAGE <name> TARGET <imported target>]): a library of headers alone. Without a
# CMake package of that name for the platform it is what the system has installed into a folder of /usr/include.
# Compilers see that folder only: the headers beside it suit the host alone.
function(qelm_add_header_library target folder)
    cmake_parse_arguments(PARSE_ARGV 2 arg "" "PACKAGE;TARGET" "")
    add_library(${target} INTERFACE)
    if(arg_PACKAGE)
        find_package(${arg_PACKAGE} CONFIG QUIET)
        if(${arg_PACKAGE}_FOUND)
            target_link_libraries(${target} INTERFACE ${arg_TARGET})
            return()
        endif()
    endif()
    find_path(${target}_include_dir ${folder} PATHS /usr/include NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
    if(NOT ${target}_include_dir)
        message(FATAL_ERROR "No CMake package \"${arg_PACKAGE}\" and no headers ${folder}/ in /usr/include: "
            "run scripts/install-dependencies, or say with CMAKE_PREFIX_PATH where the package is")
    endif()
    set(include_dir ${CMAKE_BINARY_DIR}/include/${target})
    file(MAKE_DIRECTORY ${include_dir})
    file(CREATE_LINK ${${target}_include_dir}/${folder} ${include_dir}/${folder} SYMBOLIC)
    target_include_directories(${target} SYSTEM INTERFACE ${include_dir})
endfunction()

# qelm_find_optional(<NAME> FOR <what is left out without it> PACKAGE <name>|PKG_CONFIG <module>): looks for a package as
# the option QELM_WITH_<NAME> says and sets QELM_HAS_<NAME>. AUTO uses the package where it is, ON fails without it (the
# presets say so: nothing may be left out silently there), OFF does not look. A pkg-config module is PkgConfig::<NAME>.
function(qelm_find_optional name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "FOR;PACKAGE;PKG_CONFIG" "")
    set(option QELM_WITH_${name})
    set(${option} AUTO CACHE STRING "${arg_PACKAGE}${arg_PKG_CONFIG} for ${arg_FOR}: AUTO (where it is found), ON or OFF")
    set_property(CACHE ${option} PROPERTY STRINGS AUTO ON OFF)
    set(required)
    if(NOT ${option} STREQUAL "AUTO")
        set(required REQUIRED)
    endif()
    set(found FALSE)
    if(NOT ${option})
        # not wanted
    elseif(arg_PACKAGE)
        find_package(${arg_PACKAGE} CONFIG ${required})
        set(found ${${arg_PACKAGE}_FOUND})
    else()
        find_package(PkgConfig ${required})
        if(PKG_CONFIG_FOUND)
            pkg_check_modules(${name} ${required} IMPORTED_TARGET ${arg_PKG_CONFIG})
            set(found ${${name}_FOUND})
        endif()
    endif()
    if(NOT found)
        message(STATUS "Without ${arg_PACKAGE}${arg_PKG_CONFIG} (${option}=${${option}}): ${arg_FOR} is left out")
    endif()
    set(QELM_HAS_${name} ${found} PARENT_SCOPE)
endfunction()
