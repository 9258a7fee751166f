#include "support/hive_builder.h"

#include <algorithm>
#include <stdexcept>

#include "support/little_endian.h"

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

std::string WideBytes(std::u16string_view text) {
    std::string bytes;
    for (const char16_t unit : text) {
        AppendNumber(bytes, unit, 2);
    }
    return bytes;
}

bool IsLatin1(std::u16string_view text) {
    return std::ranges::all_of(text, [](char16_t unit) { return unit < 0x100; });
}

std::string NameBytes(std::u16string_view name, bool isWide) {
    if (isWide) {
        return WideBytes(name);
    }
    std::string bytes;
    for (const char16_t unit : name) {
        AppendNumber(bytes, unit, 1);
    }
    return bytes;
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
    explicit CLayout(const CTestHive& hive);

    [[nodiscard]] const std::string& GetBytes() const { return m_bytes; }
    [[nodiscard]] std::uint32_t FindCell(const SHiveCell& cell) const;
    void Apply(const SPatch& patch);
    void Seal() { SealHiveHeader(m_bytes); }

private:
    struct SValueCells {
        std::uint32_t value = kNoCell;
        std::uint32_t data = kNoCell;
        std::uint32_t segments = kNoCell;
    };
    struct SKeyCells {
        std::uint32_t key = kNoCell;
        std::uint32_t subKeys = kNoCell;
        std::uint32_t values = kNoCell;
        std::vector<SValueCells> valueCells;
    };

    void WriteHeader();
    std::uint32_t AddCell(std::string_view content);
    void FillBin();
    std::uint32_t AddKey(const SKey& key);
    std::uint32_t AddSecurity();
    SValueCells AddValue(const SValue& value);
    std::uint32_t AddSegments(const SValue& value, SValueCells& cells);
    void AddValues(const SKey& key, SKeyCells& cells);
    void AddSubKeys(const SKey& key, SKeyCells& cells);
    std::uint32_t AddPart(const std::vector<std::size_t>& children, std::size_t first,
                          std::size_t count);
    void SetField(std::uint32_t cell, std::size_t offset, std::uint32_t number);
    void SetSizes(const SKey& key, std::uint32_t cell);

    const CTestHive& m_hive;
    std::string m_bytes = std::string(kHeaderSize, '\0');
    std::size_t m_binEnd = kHeaderSize;
    std::vector<SKeyCells> m_cells;
};

CTestHive::CLayout::CLayout(const CTestHive& hive) : m_hive(hive), m_cells(hive.m_keys.size()) {
    std::uint32_t security = kNoCell;
    for (std::size_t i = 0; i < m_cells.size(); ++i) {
        const SKey& key = hive.m_keys[i];
        m_cells[i].key = AddKey(key);
        // The root key is the first cell of a hive, and all keys share one security descriptor.
        security = i == 0 ? AddSecurity() : security;
        SetField(m_cells[i].key, 16, i == 0 ? kNoCell : m_cells[key.parent].key);
        SetField(m_cells[i].key, 44, security);
        AddValues(key, m_cells[i]);
    }
    for (std::size_t i = 0; i < m_cells.size(); ++i) {
        AddSubKeys(hive.m_keys[i], m_cells[i]);
    }
    FillBin();
    WriteHeader();
}

void CTestHive::CLayout::WriteHeader() {
    m_bytes.replace(0, 4, "regf");
    const std::pair<std::size_t, std::uint64_t> fields[] = {
        {4, m_hive.m_sequences.first},
        {8, m_hive.m_sequences.second},
        {12, kWriteTime & 0xFFFFFFFFU},
        {16, kWriteTime >> 32},
        {20, 1},
        {24, m_hive.m_minorVersion},
        {32, 1},
        {36, m_cells[0].key},
        {40, m_bytes.size() - kHeaderSize},
        {44, 1},
    };
    for (const auto& [offset, number] : fields) {
        PutNumber(m_bytes, offset, number, 4);
    }
    PutNumber(m_bytes, kHeaderSize + 20, kWriteTime, 8);
}

// Makes what is left of the current bin a free cell.
void CTestHive::CLayout::FillBin() {
    const std::size_t rest = m_binEnd - m_bytes.size();
    if (rest != 0) {
        AppendNumber(m_bytes, rest, 4);
        m_bytes.resize(m_binEnd);
    }
}

std::uint32_t CTestHive::CLayout::AddCell(std::string_view content) {
    const std::size_t size = AlignUp(content.size() + 4, 8);
    if (size > m_binEnd - m_bytes.size()) {
        FillBin();
        const std::size_t binSize = AlignUp(size + kBinHeaderSize, kBinAlignment);
        m_bytes += "hbin";
        AppendNumber(m_bytes, m_binEnd - kHeaderSize, 4);
        AppendNumber(m_bytes, binSize, 4);
        m_bytes.resize(m_binEnd + kBinHeaderSize);
        m_binEnd += binSize;
    }
    const std::size_t start = m_bytes.size();
    AppendNumber(m_bytes, 0 - size, 4);
    m_bytes += content;
    m_bytes.resize(start + size);
    return static_cast<std::uint32_t>(start - kHeaderSize);
}

std::uint32_t CTestHive::CLayout::AddKey(const SKey& key) {
    const std::string name = NameBytes(key.name, key.isWide);
    std::string content(76, '\0');
    content.replace(0, 2, "nk");
    PutNumber(content, 2,
              (&key == m_hive.m_keys.data() ? kRootFlags : 0) | (key.isWide ? 0 : kLatin1KeyName),
              2);
    PutNumber(content, 4, kWriteTime, 8);
    for (const std::size_t offset : {28U, 32U, 40U, 48U}) {
        PutNumber(content, offset, kNoCell, 4);
    }
    PutNumber(content, 72, name.size(), 2);
    return AddCell(content + name);
}

// Adds a descriptor that says nothing, in a ring of its own.
std::uint32_t CTestHive::CLayout::AddSecurity() {
    std::string content = "sk";
    content.resize(12);
    AppendNumber(content, m_cells.size(), 4);
    AppendNumber(content, 20, 4);
    AppendNumber(content, 0x80000001U, 4);
    const std::uint32_t cell = AddCell(content + std::string(16, '\0'));
    SetField(cell, 4, cell);
    SetField(cell, 8, cell);
    return cell;
}

void CTestHive::CLayout::AddValues(const SKey& key, SKeyCells& cells) {
    SetSizes(key, cells.key);
    if (key.values.empty()) {
        return;
    }
    std::string list;
    for (const SValue& value : key.values) {
        cells.valueCells.push_back(AddValue(value));
        AppendNumber(list, cells.valueCells.back().value, 4);
    }
    cells.values = AddCell(list);
    SetField(cells.key, 36, static_cast<std::uint32_t>(key.values.size()));
    SetField(cells.key, 40, cells.values);
}

// The longest names and data below a key, which its record tells.
void CTestHive::CLayout::SetSizes(const SKey& key, std::uint32_t cell) {
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
    SetField(cell, 52, static_cast<std::uint32_t>(subKeyName));
    SetField(cell, 60, static_cast<std::uint32_t>(valueName));
    SetField(cell, 64, static_cast<std::uint32_t>(valueData));
}

CTestHive::CLayout::SValueCells CTestHive::CLayout::AddValue(const SValue& value) {
    SValueCells cells;
    std::uint32_t size = static_cast<std::uint32_t>(value.data.size());
    std::uint32_t place = 0;
    if (size <= 4) {
        place = static_cast<std::uint32_t>(GetNumber(value.data + std::string(4, '\0'), 0, 4));
        size |= kInlineData;
    } else if (size > kSegmentLength && m_hive.m_minorVersion >= 4) {
        place = AddSegments(value, cells);
    } else {
        place = cells.data = AddCell(value.data);
    }
    const std::string name = NameBytes(value.name, value.isWide);
    std::string content = "vk";
    AppendNumber(content, name.size(), 2);
    AppendNumber(content, size, 4);
    AppendNumber(content, place, 4);
    AppendNumber(content, value.type, 4);
    AppendNumber(content, value.isWide ? 0 : kLatin1ValueName, 4);
    cells.value = AddCell(content + name);
    return cells;
}

// Returns the place of the record that the data is reached by.
std::uint32_t CTestHive::CLayout::AddSegments(const SValue& value, SValueCells& cells) {
    std::string list;
    for (std::size_t start = 0; start < value.data.size(); start += kSegmentLength) {
        // The system leaves 4 bytes behind each, and there is a reader that relies on it.
        const std::string rest(4, '\0');
        AppendNumber(list, AddCell(value.data.substr(start, kSegmentLength) + rest), 4);
    }
    cells.segments = AddCell(list);
    std::string record = "db";
    AppendNumber(record, list.size() / 4, 2);
    AppendNumber(record, cells.segments, 4);
    cells.data = AddCell(record);
    return cells.data;
}

void CTestHive::CLayout::AddSubKeys(const SKey& key, SKeyCells& cells) {
    if (key.children.empty()) {
        return;
    }
    std::vector<std::size_t> children = key.children;
    std::ranges::stable_sort(children, [this](std::size_t left, std::size_t right) {
        return std::ranges::lexicographical_compare(
            m_hive.m_keys[left].name, m_hive.m_keys[right].name, {}, ToUpper, ToUpper);
    });
    std::string parts = "ri";
    AppendNumber(parts, AlignUp(children.size(), m_hive.m_partSize) / m_hive.m_partSize, 2);
    for (std::size_t first = 0; first < children.size(); first += m_hive.m_partSize) {
        cells.subKeys =
            AddPart(children, first, std::min(m_hive.m_partSize, children.size() - first));
        AppendNumber(parts, cells.subKeys, 4);
    }
    if (children.size() > m_hive.m_partSize) {
        cells.subKeys = AddCell(parts);
    }
    SetField(cells.key, 20, static_cast<std::uint32_t>(children.size()));
    SetField(cells.key, 28, cells.subKeys);
}

std::uint32_t CTestHive::CLayout::AddPart(const std::vector<std::size_t>& children,
                                          std::size_t first, std::size_t count) {
    const EHiveList kind = m_hive.m_listKind;
    std::string list = kind == EHiveList::Lh ? "lh" : kind == EHiveList::Lf ? "lf" : "li";
    AppendNumber(list, count, 2);
    for (std::size_t i = first; i < first + count; ++i) {
        AppendNumber(list, m_cells[children[i]].key, 4);
        if (kind != EHiveList::Li) {
            AppendNumber(list, NameHint(kind, m_hive.m_keys[children[i]].name), 4);
        }
    }
    return AddCell(list);
}

void CTestHive::CLayout::SetField(std::uint32_t cell, std::size_t offset, std::uint32_t number) {
    PutNumber(m_bytes, kHeaderSize + cell + 4 + offset, number, 4);
}

std::uint32_t CTestHive::CLayout::FindCell(const SHiveCell& cell) const {
    const std::size_t index = m_hive.m_paths.at(cell.key);
    const SKeyCells& cells = m_cells[index];
    switch (cell.kind) {
        case SHiveCell::Key:
            return cells.key;
        case SHiveCell::SubKeys:
            return cells.subKeys;
        case SHiveCell::Values:
            return cells.values;
        default:
            break;
    }
    const std::vector<SValue>& values = m_hive.m_keys[index].values;
    const auto value = std::ranges::find(values, cell.value, &SValue::name);
    const SValueCells& found =
        cells.valueCells.at(static_cast<std::size_t>(value - values.begin()));
    return cell.kind == SHiveCell::Value  ? found.value
           : cell.kind == SHiveCell::Data ? found.data
                                          : found.segments;
}

void CTestHive::CLayout::Apply(const SPatch& patch) {
    const std::ptrdiff_t start =
        patch.cell.kind == SHiveCell::Header
            ? 0
            : static_cast<std::ptrdiff_t>(kHeaderSize + FindCell(patch.cell) + 4);
    PutNumber(m_bytes, static_cast<std::size_t>(start + patch.offset),
              patch.isLink ? FindCell(patch.target) : patch.number, patch.size);
}

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

CTestHive& CTestHive::String(std::u16string_view name, std::u16string_view text) {
    return Value(name, 1, WideBytes(text) + std::string(2, '\0'));
}

CTestHive& CTestHive::ExpandString(std::u16string_view name, std::u16string_view text) {
    return Value(name, 2, WideBytes(text) + std::string(2, '\0'));
}

CTestHive& CTestHive::MultiString(std::u16string_view name,
                                  std::initializer_list<std::u16string_view> texts) {
    std::string bytes;
    for (const std::u16string_view text : texts) {
        bytes += WideBytes(text) + std::string(2, '\0');
    }
    return Value(name, 7, bytes + std::string(2, '\0'));
}

CTestHive& CTestHive::Binary(std::u16string_view name, std::string_view bytes) {
    return Value(name, 3, bytes);
}

CTestHive& CTestHive::Dword(std::u16string_view name, std::uint32_t number) {
    std::string bytes;
    AppendNumber(bytes, number, 4);
    return Value(name, 4, bytes);
}

CTestHive& CTestHive::Qword(std::u16string_view name, std::uint64_t number) {
    std::string bytes;
    AppendNumber(bytes, number, 8);
    return Value(name, 11, bytes);
}

CTestHive& CTestHive::Value(std::u16string_view name, std::uint32_t type, std::string_view bytes) {
    m_keys[m_current].values.push_back({.name = std::u16string(name),
                                        .isWide = m_hasWideNames || !IsLatin1(name),
                                        .type = type,
                                        .data = std::string(bytes)});
    return *this;
}

CTestHive& CTestHive::WideNames(bool isWide) {
    m_hasWideNames = isWide;
    return *this;
}

CTestHive& CTestHive::Version(std::uint32_t minor) {
    m_minorVersion = minor;
    return *this;
}

CTestHive& CTestHive::Lists(EHiveList kind, std::size_t partSize) {
    m_listKind = kind;
    m_partSize = partSize;
    return *this;
}

CTestHive& CTestHive::Sequences(std::uint32_t first, std::uint32_t second) {
    m_sequences = {first, second};
    return *this;
}

CTestHive& CTestHive::Patch32(const SHiveCell& cell, std::size_t offset, std::uint32_t number) {
    m_patches.push_back({cell, static_cast<std::ptrdiff_t>(offset), 4, number, false, {}});
    return *this;
}

CTestHive& CTestHive::Patch16(const SHiveCell& cell, std::size_t offset, std::uint16_t number) {
    m_patches.push_back({cell, static_cast<std::ptrdiff_t>(offset), 2, number, false, {}});
    return *this;
}

CTestHive& CTestHive::Link(const SHiveCell& cell, std::size_t offset, const SHiveCell& target) {
    m_patches.push_back({cell, static_cast<std::ptrdiff_t>(offset), 4, 0, true, target});
    return *this;
}

CTestHive& CTestHive::Resize(const SHiveCell& cell, std::int32_t size) {
    m_patches.push_back({cell, -4, 4, static_cast<std::uint32_t>(size), false, {}});
    return *this;
}

std::string CTestHive::Bytes() const {
    CLayout layout(*this);
    for (const SPatch& patch : m_patches) {
        layout.Apply(patch);
    }
    layout.Seal();
    return layout.GetBytes();
}

void SealHiveHeader(std::string& bytes) {
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < kChecksumOffset; i += 4) {
        sum ^= static_cast<std::uint32_t>(GetNumber(bytes, i, 4));
    }
    PutNumber(bytes, kChecksumOffset, sum, 4);
}
