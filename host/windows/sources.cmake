# The Windows half of the host program: real dialogs over the simulated computer. The list of calls that the simulated
# computer answers is read out of its sources, so that a call added there is redirected at once.
file(GLOB services CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/platform/machine/*.cpp)
set(calls)
foreach(service IN LISTS services)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${service})
  file(STRINGS ${service} lines REGEX "^QX_PLATFORM_CALL\\([A-Za-z0-9_]+\\);")
  foreach(line IN LISTS lines)
    string(REGEX REPLACE "^QX_PLATFORM_CALL\\(([A-Za-z0-9_]+)\\).*" "\\1" call "${line}")
    list(APPEND calls ${call})
  endforeach()
endforeach()
list(REMOVE_DUPLICATES calls)
list(TRANSFORM calls REPLACE "(.+)" "MACHINE_CALL(\\1)\n" OUTPUT_VARIABLE entries)
string(REPLACE ";" "" entries "${entries}")
file(CONFIGURE OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/generated/machine_calls.inc CONTENT "${entries}" @ONLY)

target_sources(qx_host PRIVATE windows/desk.cpp windows/import_redirect.cpp windows/screen.cpp windows/user_thread.cpp
                       INTERFACE windows/qxhost.rc)
target_include_directories(qx_host PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/generated INTERFACE ${CMAKE_BINARY_DIR}/generated)
target_link_libraries(qx_host PUBLIC qx_machine gdiplus -static)
# Behind everything else, because the product's folders call them too.
string(APPEND CMAKE_CXX_STANDARD_LIBRARIES " -lsetupapi -lcfgmgr32 -lcomctl32 -lmsports")
