# Finds the client library of the service daemon, which has neither a module nor a package file for
# CMake. Sets TernwoodVexilAvahiClient_FOUND and makes the target TernwoodVexil::avahi_client.
find_path(TernwoodVexilAvahiClient_INCLUDE_DIR avahi-client/client.h)
find_library(TernwoodVexilAvahiClient_LIBRARY avahi-client)
find_library(TernwoodVexilAvahiClient_COMMON_LIBRARY avahi-common)
mark_as_advanced(TernwoodVexilAvahiClient_INCLUDE_DIR TernwoodVexilAvahiClient_LIBRARY TernwoodVexilAvahiClient_COMMON_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(TernwoodVexilAvahiClient REQUIRED_VARS TernwoodVexilAvahiClient_LIBRARY TernwoodVexilAvahiClient_COMMON_LIBRARY
                                                      TernwoodVexilAvahiClient_INCLUDE_DIR)

if(TernwoodVexilAvahiClient_FOUND AND NOT TARGET TernwoodVexil::avahi_client)
  add_library(TernwoodVexil::avahi_client UNKNOWN IMPORTED)
  set_target_properties(
    TernwoodVexil::avahi_client
    PROPERTIES IMPORTED_LOCATION "${TernwoodVexilAvahiClient_LIBRARY}"
               INTERFACE_LINK_LIBRARIES "${TernwoodVexilAvahiClient_COMMON_LIBRARY}"
               INTERFACE_INCLUDE_DIRECTORIES "${TernwoodVexilAvahiClient_INCLUDE_DIR}")
endif()
