# Finds libmpv (client API 2.x) and defines the target Mpv::Mpv.
# Set MPV_ROOT where neither pkg-config nor the usual prefixes know it, as on Windows.
find_package(PkgConfig QUIET)
if(PkgConfig_FOUND)
    pkg_check_modules(PC_MPV QUIET mpv)
endif()
find_path(MPV_INCLUDE_DIR mpv/client.h HINTS ${PC_MPV_INCLUDE_DIRS} ${MPV_ROOT}/include)
find_library(MPV_LIBRARY NAMES mpv libmpv mpv-2 libmpv-2 HINTS ${PC_MPV_LIBRARY_DIRS} ${MPV_ROOT}/lib ${MPV_ROOT})
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Mpv REQUIRED_VARS MPV_LIBRARY MPV_INCLUDE_DIR VERSION_VAR PC_MPV_VERSION)
if(Mpv_FOUND AND NOT TARGET Mpv::Mpv)
    add_library(Mpv::Mpv UNKNOWN IMPORTED)
    set_target_properties(Mpv::Mpv PROPERTIES
        IMPORTED_LOCATION ${MPV_LIBRARY} INTERFACE_INCLUDE_DIRECTORIES ${MPV_INCLUDE_DIR})
endif()
mark_as_advanced(MPV_INCLUDE_DIR MPV_LIBRARY)
