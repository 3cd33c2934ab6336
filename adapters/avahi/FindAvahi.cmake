# The client library of the service daemon, which brings neither a module nor a package file for
# CMake: Avahi_FOUND, and the target Avahi::client.
find_path(Avahi_INCLUDE_DIR avahi-client/client.h)
find_library(Avahi_CLIENT_LIBRARY avahi-client)
find_library(Avahi_COMMON_LIBRARY avahi-common)
mark_as_advanced(Avahi_INCLUDE_DIR Avahi_CLIENT_LIBRARY Avahi_COMMON_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Avahi REQUIRED_VARS Avahi_CLIENT_LIBRARY Avahi_COMMON_LIBRARY
                                                      Avahi_INCLUDE_DIR)

if(Avahi_FOUND AND NOT TARGET Avahi::client)
  add_library(Avahi::client UNKNOWN IMPORTED)
  set_target_properties(
    Avahi::client
    PROPERTIES IMPORTED_LOCATION "${Avahi_CLIENT_LIBRARY}"
               INTERFACE_LINK_LIBRARIES "${Avahi_COMMON_LIBRARY}"
               INTERFACE_INCLUDE_DIRECTORIES "${Avahi_INCLUDE_DIR}")
endif()
