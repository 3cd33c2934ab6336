# How the targets of this project are compiled.
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE RelWithDebInfo)
endif()

if(TERNWOODVEXIL_SANITIZE)
  add_compile_options(-fsanitize=${TERNWOODVEXIL_SANITIZE} -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${TERNWOODVEXIL_SANITIZE})
endif()

# Sets the warnings of a target of ours. They are not set globally, because a project that includes
# this one with add_subdirectory has its own.
function(ternwoodvexil_warnings target)
  target_compile_features(${target} PUBLIC cxx_std_20)
  target_compile_options(
    ${target}
    PRIVATE -Wall
            -Wextra
            -Wpedantic
            -Wconversion
            -Wsign-conversion
            -Wshadow
            -Wnon-virtual-dtor
            -Wold-style-cast
            -Woverloaded-virtual
            -Wnull-dereference
            -Wdouble-promotion
            -Wformat=2
            -Wimplicit-fallthrough)
  # With optimisation, GCC 12 warns wrongly: of an overlapping copy in std::string's operator+ (PR
  # 105651), and of a null pointer in values that have no shared storage.
  target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
                                           $<$<CXX_COMPILER_ID:GNU>:-Wno-null-dereference>)
  if(TERNWOODVEXIL_SANITIZE)
    # GCC also mistakes code that the sanitizers add for uses of uninitialised variables. Its manual
    # says so.
    target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  endif()
  if(TERNWOODVEXIL_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

# Adds a library of ours: the target ternwoodvexil_<name>, which users link as
# TernwoodVexil::<name>. Only the listed headers are installed. Their paths here are the paths in
# #include.
function(ternwoodvexil_library name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;HEADERS")
  set(target ternwoodvexil_${name})
  add_library(${target} STATIC ${arg_SOURCES})
  add_library(TernwoodVexil::${name} ALIAS ${target})
  target_sources(${target} PUBLIC FILE_SET HEADERS BASE_DIRS ${CMAKE_CURRENT_SOURCE_DIR} FILES
                                  ${arg_HEADERS})
  # Sources have helpers of the same names, so a host's unity build must not join them.
  set_target_properties(${target} PROPERTIES EXPORT_NAME ${name} UNITY_BUILD OFF)
  ternwoodvexil_warnings(${target})
  if(TERNWOODVEXIL_SANITIZE)
    # Tests spend most of their time in the libraries, which are compiled only once.
    target_compile_options(${target} PRIVATE -O1)
  endif()
endfunction()
