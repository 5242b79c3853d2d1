# nlohmann-json is header-only and the same on every architecture, but Debian
# installs it for the build host only, so a cross-build for the device cannot
# find its package files under the target's root. There it is found on the host
# and only its own nlohmann/ folder is put on the include path, so no other host
# header can shadow the target's.
find_package(nlohmann_json 3 QUIET)
if(NOT nlohmann_json_FOUND)
  find_package(nlohmann_json 3 REQUIRED NO_CMAKE_FIND_ROOT_PATH)
  find_path(QUILLOND_NLOHMANN_INCLUDE_DIR nlohmann/json.hpp NO_CMAKE_FIND_ROOT_PATH REQUIRED)
  set(only_nlohmann ${CMAKE_BINARY_DIR}/nlohmann-json-include)
  file(MAKE_DIRECTORY ${only_nlohmann})
  file(CREATE_LINK ${QUILLOND_NLOHMANN_INCLUDE_DIR}/nlohmann ${only_nlohmann}/nlohmann SYMBOLIC)
  set_target_properties(nlohmann_json::nlohmann_json PROPERTIES
    INTERFACE_INCLUDE_DIRECTORIES ${only_nlohmann})
endif()
# The platform services and the tests use it.
set_target_properties(nlohmann_json::nlohmann_json PROPERTIES IMPORTED_GLOBAL TRUE)
