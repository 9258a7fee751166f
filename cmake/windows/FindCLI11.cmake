include(DebianHeaders)
orv_find_debian_headers(CLI11 CLI11::CLI11 CLI CLI.hpp)
