# For tests alone.
include(DebianHeaders)
orv_find_debian_headers(tomlplusplus tomlplusplus::tomlplusplus toml++ toml.h)
