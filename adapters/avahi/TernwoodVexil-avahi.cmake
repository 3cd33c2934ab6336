# The component `avahi` of an installed TernwoodVexil. Not found when the client library is missing.
list(APPEND CMAKE_MODULE_PATH ${CMAKE_CURRENT_LIST_DIR})
find_package(TernwoodVexilAvahiClient QUIET)
list(REMOVE_ITEM CMAKE_MODULE_PATH ${CMAKE_CURRENT_LIST_DIR})
if(TernwoodVexilAvahiClient_FOUND)
  include(${CMAKE_CURRENT_LIST_DIR}/TernwoodVexilAvahiTargets.cmake)
  set(TernwoodVexil_avahi_FOUND TRUE)
endif()
