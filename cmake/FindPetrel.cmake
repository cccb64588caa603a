# Finds the Petrel framework of the device: the target petrelradar::petrel-shared.
find_path(Petrel_INCLUDE_DIR petrel/block.h)
find_library(Petrel_LIBRARY petrel-shared)
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Petrel REQUIRED_VARS Petrel_LIBRARY Petrel_INCLUDE_DIR)
if(Petrel_FOUND AND NOT TARGET petrelradar::petrel-shared)
    add_library(petrelradar::petrel-shared SHARED IMPORTED)
    set_target_properties(petrelradar::petrel-shared PROPERTIES
        IMPORTED_LOCATION ${Petrel_LIBRARY}
        INTERFACE_INCLUDE_DIRECTORIES ${Petrel_INCLUDE_DIR})
endif()
