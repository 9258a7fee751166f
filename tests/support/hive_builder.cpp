#include "support/hive_builder.h"

#include <algorithm>
#include <array>
#include <span>

namespace {

constexpr std::size_t kHeaderSize = 4096;
constexpr std::size_t kChecksumOffset = 508;
constexpr std::size_t kBinAlignment = 4096;
constexpr std::size_t kBinHeaderSize = 32;
constexpr std::uint32_t kNoCell = 0xFFFFFFFFU;
constexpr std::size_t kSegmentLength = 16344;
constexpr std::uint64_t kWriteTime = 0x01D0000000000000U;

constexpr std::uint32_t kRootFlags = 0x0C;  // root of a hive, not to be deleted
constexpr std::uint32_t kLatin1KeyName = 0x20;
constexpr std::uint32_t kLatin1ValueName = 1;
constexpr std::uint32_t kInlineData = 0x80000000U;

constexpr std::size_t AlignUp(std::size_t size, std::size_t alignment) {
    return (size + alignment - 1) / alignment * alignment;
}

// The upper case of the letters that test names are made of.
char16_t ToUpper(char16_t unit) {
    const bool isLatin1 = unit >= 0xE0 && unit <= 0xFE && unit != 0xF7;
    return (unit >= u'a' && unit <= u'z') || isLatin1 ? static_cast<char16_t>(unit - 0x20) : unit;
}

bool IsLatin1(std::u16string_view text) {
    return std::ranges::all_of(text, [](char16_t unit) { return unit < 0x100; });
}

std::string NameBytes(std::u16string_view name, bool isWide) {
    return UnitBytes(name, isWide ? 2 : 1);
}

// What a subkey list tells of a name beside its place.
std::uint32_t NameHint(EHiveList kind, std::u16string_view name) {
    std::uint32_t hint = 0;
    if (kind == EHiveList::Lh) {
        for (const char16_t unit : name) {
            hint = 37 * hint + ToUpper(unit);
        }
        return hint;
    }
    for (std::size_t i = std::min<std::size_t>(name.size(), 4); i-- != 0;) {
        hint = hint << 8 | (name[i] < 0x80 ? name[i] : 0U);
    }
    return hint;
}

}  // namespace

// Lays the cells of a hive out and remembers where they are. Places are those of a hive, counted
// from behind the header.
class CTestHive::CLayout {
public:
    explicit CLayout(const CTestHive& hive)
        : m_hive(hive), m_keyCells(hive.m_keys.size()), m_valueCells(hive.m_keys.size()) {
        std::uint32_t security = kNoCell;
        for (std::size_t i = 0; i < m_keyCells.size(); ++i) {
            const std::uint32_t key = AddKey(hive.m_keys[i], security);
            m_keyCells[i][SHiveCell::Key] = key;
            if (i == 0) {
                // The root key is the first cell of a hive, and all keys share one descriptor.
                security = AddSecurity();
                SetField(key, 44, security);
            }
            AddValues(hive.m_keys[i], i);
        }
        for (std::size_t i = 0; i < m_keyCells.size(); ++i) {
            AddSubKeys(hive.m_keys[i], m_keyCells[i]);
        }
        FillBin();
        WriteHeader();
    }

    [[nodiscard]] std::string& GetBytes() { return m_bytes; }
    void Apply(const SPatch& patch) {
        const std::size_t start =
            patch.cell.kind == SHiveCell::Header ? 0 : kHeaderSize + FindCell(patch.cell);
        PutNumber(m_bytes, start + patch.offset,
                  patch.target ? FindCell(*patch.target) : patch.number, patch.size);
    }

private:
    // The places of what belongs to a key or to a value, by its kind.
    using Cells = std::array<std::uint32_t, SHiveCell::Segments + 1>;

    void WriteHeader() {
        const auto& [first, second] = m_hive.m_sequences;
        const std::string header =
            "regf" + Numbers({first, second}) + Numbers({kWriteTime}, 8) +
            Numbers({1, m_hive.m_minorVersion, 0, 1, m_keyCells[0][SHiveCell::Key],
                     m_bytes.size() - kHeaderSize, 1});
        m_bytes.replace(0, header.size(), header);
        PutNumber(m_bytes, kHeaderSize + 20, kWriteTime, 8);
    }

    // Makes what is left of the current bin a free cell.
    void FillBin() {
        const std::size_t rest = m_binEnd - m_bytes.size();
        if (rest != 0) {
            AppendNumber(m_bytes, rest, 4);
            m_bytes.resize(m_binEnd);
        }
    }

    std::uint32_t AddCell(std::string_view content) {
        const std::size_t size = AlignUp(content.size() + 4, 8);
        if (size > m_binEnd - m_bytes.size()) {
            FillBin();
            const std::size_t binSize = AlignUp(size + kBinHeaderSize, kBinAlignment);
            m_bytes += "hbin" + Numbers({m_binEnd - kHeaderSize, binSize});
            m_bytes.resize(m_binEnd + kBinHeaderSize);
            m_binEnd += binSize;
        }
        const std::size_t start = m_bytes.size();
        AppendNumber(m_bytes, 0 - size, 4);
        m_bytes += content;
        m_bytes.resize(start + size);
        return static_cast<std::uint32_t>(start - kHeaderSize);
    }

    // The record tells the longest names and data below the key as well.
    std::uint32_t AddKey(const SKey& key, std::uint32_t security) {
        std::size_t subKeyName = 0;
        for (const std::size_t child : key.children) {
            subKeyName = std::max(subKeyName, 2 * m_hive.m_keys[child].name.size());
        }
        std::size_t valueName = 0;
        std::size_t valueData = 0;
        for (const SValue& value : key.values) {
            valueName = std::max(valueName, 2 * value.name.size());
            valueData = std::max(valueData, value.data.size());
        }
        const bool isRoot = &key == m_hive.m_keys.data();
        const std::uint32_t parent = isRoot ? kNoCell : m_keyCells[key.parent][SHiveCell::Key];
        const std::string name = NameBytes(key.name, key.isWide);
        return AddCell("nk" +
                       Numbers({(isRoot ? kRootFlags : 0) | (key.isWide ? 0 : kLatin1KeyName)}, 2) +
                       Numbers({kWriteTime}, 8) +
                       Numbers({0, parent, 0, 0, kNoCell, kNoCell, 0, kNoCell, security, kNoCell,
                                subKeyName, 0, valueName, valueData, 0, name.size()}) +
                       name);
    }

    // Adds a descriptor that says nothing, in a ring of its own.
    std::uint32_t AddSecurity() {
        const std::uint32_t cell =
            AddCell(std::string("sk\0\0", 4) +
                    Numbers({0, 0, m_keyCells.size(), 20, 0x80000001U, 0, 0, 0, 0}));
        SetField(cell, 4, cell);
        SetField(cell, 8, cell);
        return cell;
    }

    void AddValues(const SKey& key, std::size_t index) {
        if (key.values.empty()) {
            return;
        }
        std::string list;
        for (const SValue& value : key.values) {
            m_valueCells[index].push_back(AddValue(value));
            AppendNumber(list, m_valueCells[index].back()[SHiveCell::Value], 4);
        }
        Cells& cells = m_keyCells[index];
        cells[SHiveCell::Values] = AddCell(list);
        SetField(cells[SHiveCell::Key], 36, key.values.size());
        SetField(cells[SHiveCell::Key], 40, cells[SHiveCell::Values]);
    }

    Cells AddValue(const SValue& value) {
        Cells cells{};
        std::size_t size = value.data.size();
        std::uint64_t place = 0;
        if (size <= 4) {
            place = GetNumber(value.data + std::string(4, '\0'), 0, 4);
            size |= kInlineData;
        } else {
            place = cells[SHiveCell::Data] = size > kSegmentLength && m_hive.m_minorVersion >= 4
                                                 ? AddSegments(value.data, cells)
                                                 : AddCell(value.data);
        }
        const std::string name = NameBytes(value.name, value.isWide);
        cells[SHiveCell::Value] =
            AddCell("vk" + Numbers({name.size()}, 2) +
                    Numbers({size, place, value.type, value.isWide ? 0 : kLatin1ValueName}) + name);
        return cells;
    }

    // Returns the place of the record that the data is reached by.
    std::uint32_t AddSegments(std::string_view data, Cells& cells) {
        std::string list;
        for (std::size_t start = 0; start < data.size(); start += kSegmentLength) {
            // The system leaves 4 bytes after each, and there is a reader that relies on it.
            const std::string rest(4, '\0');
            AppendNumber(list, AddCell(std::string(data.substr(start, kSegmentLength)) + rest), 4);
        }
        cells[SHiveCell::Segments] = AddCell(list);
        return AddCell("db" + Numbers({list.size() / 4}, 2) +
                       Numbers({cells[SHiveCell::Segments]}));
    }

    void AddSubKeys(const SKey& key, Cells& cells) {
        if (key.children.empty()) {
            return;
        }
        std::vector<std::size_t> children = key.children;
        std::ranges::stable_sort(children, [this](std::size_t left, std::size_t right) {
            return std::ranges::lexicographical_compare(
                m_hive.m_keys[left].name, m_hive.m_keys[right].name, {}, ToUpper, ToUpper);
        });
        std::string parts;
        for (std::size_t first = 0; first < children.size(); first += m_hive.m_partSize) {
            const std::size_t count = std::min(m_hive.m_partSize, children.size() - first);
            cells[SHiveCell::SubKeys] = AddPart(std::span(children).subspan(first, count));
            AppendNumber(parts, cells[SHiveCell::SubKeys], 4);
        }
        if (children.size() > m_hive.m_partSize) {
            cells[SHiveCell::SubKeys] = AddCell("ri" + Numbers({parts.size() / 4}, 2) + parts);
        }
        SetField(cells[SHiveCell::Key], 20, children.size());
        SetField(cells[SHiveCell::Key], 28, cells[SHiveCell::SubKeys]);
    }

    std::uint32_t AddPart(std::span<const std::size_t> children) {
        const EHiveList kind = m_hive.m_listKind;
        std::string list = kind == EHiveList::Lh ? "lh" : kind == EHiveList::Lf ? "lf" : "li";
        AppendNumber(list, children.size(), 2);
        for (const std::size_t child : children) {
            AppendNumber(list, m_keyCells[child][SHiveCell::Key], 4);
            if (kind != EHiveList::Li) {
                AppendNumber(list, NameHint(kind, m_hive.m_keys[child].name), 4);
            }
        }
        return AddCell(list);
    }

    void SetField(std::uint32_t cell, std::size_t offset, std::size_t number) {
        PutNumber(m_bytes, kHeaderSize + cell + 4 + offset, number, 4);
    }

    [[nodiscard]] std::uint32_t FindCell(const SHiveCell& cell) const {
        const std::size_t index = m_hive.m_paths.at(cell.key);
        if (cell.kind < SHiveCell::Value) {
            return m_keyCells[index][cell.kind];
        }
        const std::vector<SValue>& values = m_hive.m_keys[index].values;
        const auto value = std::ranges::find(values, cell.value, &SValue::name) - values.begin();
        return m_valueCells[index].at(static_cast<std::size_t>(value))[cell.kind];
    }

    const CTestHive& m_hive;
    std::string m_bytes = std::string(kHeaderSize, '\0');
    std::size_t m_binEnd = kHeaderSize;
    std::vector<Cells> m_keyCells;
    std::vector<std::vector<Cells>> m_valueCells;  // of each key
};

CTestHive::CTestHive() {
    m_keys.push_back({.name = u"ROOT"});
    m_paths.emplace(std::u16string(), 0);
}

CTestHive& CTestHive::Key(std::u16string_view path) {
    m_current = 0;
    for (std::size_t end = 0; end < path.size();) {
        const std::size_t start = end == 0 ? 0 : end + 1;
        end = std::min(path.find(u'\\', start), path.size());
        const auto known = m_paths.find(std::u16string(path.substr(0, end)));
        if (known != m_paths.end()) {
            m_current = known->second;
        } else {
            m_current = Add(m_current, path.substr(start, end - start));
            m_paths.emplace(path.substr(0, end), m_current);
        }
    }
    return *this;
}

CTestHive& CTestHive::SubKey(std::u16string_view name) {
    Add(m_current, name);
    return *this;
}

std::size_t CTestHive::Add(std::size_t parent, std::u16string_view name) {
    const std::size_t index = m_keys.size();
    m_keys.push_back({.name = std::u16string(name),
                      .isWide = m_hasWideNames || !IsLatin1(name),
                      .parent = parent});
    m_keys[parent].children.push_back(index);
    return index;
}

CTestHive& CTestHive::MultiString(std::u16string_view name,
                                  std::initializer_list<std::u16string_view> texts) {
    std::string bytes;
    for (const std::u16string_view text : texts) {
        bytes += UnitBytes(text) + std::string(2, '\0');
    }
    return Value(name, 7, bytes + std::string(2, '\0'));
}

CTestHive& CTestHive::Value(std::u16string_view name, std::uint32_t type, std::string_view bytes) {
    m_keys[m_current].values.push_back({.name = std::u16string(name),
                                        .isWide = m_hasWideNames || !IsLatin1(name),
                                        .type = type,
                                        .data = std::string(bytes)});
    return *this;
}

CTestHive& CTestHive::Lists(EHiveList kind, std::size_t partSize) {
    m_listKind = kind;
    m_partSize = partSize;
    return *this;
}

std::string CTestHive::Bytes() const {
    CLayout layout(*this);
    for (const SPatch& patch : m_patches) {
        layout.Apply(patch);
    }
    SealHiveHeader(layout.GetBytes());
    return layout.GetBytes();
}

void SealHiveHeader(std::string& bytes) {
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i < kChecksumOffset; i += 4) {
        sum ^= GetNumber(bytes, i, 4);
    }
    PutNumber(bytes, kChecksumOffset, sum, 4);
}
