#include "support/temp_folder.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>
#include <type_traits>

#include "support/system.h"

namespace fs = std::filesystem;

CTempFolder::CTempFolder() {
    const fs::path parent = fs::canonical(fs::temp_directory_path());
    std::random_device random;
    do {
        m_path = parent / ("orvcasconv-" + std::to_string(random()));
    } while (!fs::create_directory(m_path));
}

CTempFolder::~CTempFolder() { RemoveTree(m_path); }

fs::path CTempFolder::Path(std::string_view relative) const {
    return relative.empty() ? m_path : m_path / relative;
}

std::u16string CTempFolder::Name(std::string_view relative) const {
    std::u16string name = Path(relative).make_preferred().u16string();
    if (std::is_same_v<fs::path::value_type, char>) {
        std::replace(name.begin(), name.end(), u'/', u'\\');
        name.insert(0, u"Z:");
    }
    return name;
}

std::u16string CTempFolder::MakeFolder(std::string_view relative) const {
    fs::create_directories(Path(relative));
    return Name(relative);
}

std::u16string CTempFolder::WriteFile(std::string_view relative, std::string_view bytes) const {
    fs::create_directories(Path(relative).parent_path());
    std::ofstream file(Path(relative), std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (!file) {
        throw std::runtime_error("cannot write " + Path(relative).string());
    }
    return Name(relative);
}

std::string CTempFolder::ReadFile(std::string_view relative) const {
    std::ifstream file(Path(relative), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

bool CTempFolder::Exists(std::string_view relative) const {
    return fs::symlink_status(Path(relative)).type() != fs::file_type::not_found;
}
