include(DebianHeaders)
orv_find_debian_headers(RapidJSON RapidJSON::RapidJSON rapidjson writer.h)
