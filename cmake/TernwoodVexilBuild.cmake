# What every target of this project is compiled with.
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

# Warnings of our own targets. Not set globally: a project that includes this one with
# add_subdirectory keeps its own.
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
  # GCC 12 takes std::string's own operator+ for an overlapping copy when it optimises (PR 105651).
  # And a value that shares nothing for one whose pointer is null.
  target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
                                           $<$<CXX_COMPILER_ID:GNU>:-Wno-null-dereference>)
  if(TERNWOODVEXIL_SANITIZE)
    # It also takes what the sanitizers add for uses of what is not initialised, as its manual warns.
    target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  endif()
  if(TERNWOODVEXIL_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

# A library of ours: the target ternwoodvexil_<name>, known to users as TernwoodVexil::<name>. Only the
# headers that are listed are installed; they are included as <vexil/...> from the folder above.
function(ternwoodvexil_library name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;HEADERS")
  set(target ternwoodvexil_${name})
  add_library(${target} STATIC ${arg_SOURCES})
  add_library(TernwoodVexil::${name} ALIAS ${target})
  target_sources(${target} PUBLIC FILE_SET HEADERS BASE_DIRS ${CMAKE_CURRENT_SOURCE_DIR} FILES
                                  ${arg_HEADERS})
  set_target_properties(${target} PROPERTIES EXPORT_NAME ${name})
  ternwoodvexil_warnings(${target})
  if(TERNWOODVEXIL_SANITIZE)
    # Tests spend their time in here, and what is compiled once may take a little longer.
    target_compile_options(${target} PRIVATE -O1)
  endif()
endfunction()
