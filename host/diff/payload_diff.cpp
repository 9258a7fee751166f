#include "host/diff/payload_diff.h"

#include <algorithm>
#include <fstream>
#include <string_view>
#include <system_error>

#include "host/check_sums.h"
#include "host/manifest_check.h"
#include "host/path_rules.h"
#include "host/status_text.h"
#include "platform/local_paths.h"

namespace host {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kPieceBytes = std::size_t{1} << 18;

// The next piece of a file, in `buffer`.
std::string_view ReadPiece(std::ifstream& file, std::vector<char>& buffer) {
    buffer.resize(kPieceBytes);
    file.read(buffer.data(), static_cast<std::streamsize>(buffer.size()));
    return {buffer.data(), static_cast<std::size_t>(file.gcount())};
}

}  // namespace

CPayloadSide::CPayloadSide(fs::path folder) : m_folder(std::move(folder)) {}

void CPayloadSide::Name(const std::u16string& source) {
    const std::u16string file = DecodeRelativePath(source);
    m_firstNames.insert(FirstName(file));
    if (file.find(kSidMark) != file.npos) {
        m_withSid.push_back(file);
    }
}

void CPayloadSide::List(const TellProblem& tell) {
    m_files = ListNamedFiles(m_folder, m_firstNames, tell);
    m_check.emplace(m_folder, m_files);
    const TellProblem ignore = [](const fs::path& /*place*/, const std::string& /*words*/) {};
    for (const std::u16string& file : m_withSid) {
        m_check->Name(file, false, ignore);
    }
    m_check->FinishNames(ignore);
}

const SFoundFile* CPayloadSide::Find(const std::u16string& source) const {
    return m_check->Find(DecodeRelativePath(source));
}

std::uint64_t CFileContents::GetSize(const SFoundFile& file) {
    SFacts& facts = m_facts[&file];
    if (!facts.size) {
        std::error_code error;
        facts.size = fs::file_size(file.path, error);
        if (error) {
            facts.size = 0;
            m_tell(file.path, "the file cannot be read: " + DescribeError(error));
        }
    }
    return *facts.size;
}

std::string CFileContents::GetSum(const SFoundFile& file) {
    SFacts& facts = m_facts[&file];
    if (!facts.sum) {
        std::string problem;
        facts.sum = SumFile(file.path, problem).value_or("");
        if (!problem.empty()) {
            m_tell(file.path, problem);
        }
    }
    return *facts.sum;
}

bool CFileContents::AreEqual(const SFoundFile* older, const SFoundFile* newer) {
    if (older == nullptr || newer == nullptr) {
        return older == newer;
    }
    ++m_count;
    std::error_code error;
    if (fs::equivalent(older->path, newer->path, error)) {
        return true;
    }
    if (GetSize(*older) != GetSize(*newer)) {
        return false;
    }
    bool& isOlderRead = m_facts[older].isRead;
    bool& isNewerRead = m_facts[newer].isRead;
    if (!isOlderRead && !isNewerRead) {
        isOlderRead = isNewerRead = true;
        return HaveSameBytes(*older, *newer);
    }
    const std::string sum = GetSum(*older);
    const std::string otherSum = GetSum(*newer);
    return sum == otherSum || sum.empty() || otherSum.empty();
}

bool CFileContents::HaveSameBytes(const SFoundFile& older, const SFoundFile& newer) {
    std::ifstream files[] = {std::ifstream(older.path, std::ios::binary),
                             std::ifstream(newer.path, std::ios::binary)};
    // The loop ends at the end of either file, at the first failure, or where they differ.
    bool areEqual = true;
    bool isGoing = true;
    while (isGoing && areEqual) {
        const std::string_view piece = ReadPiece(files[0], m_buffers[0]);
        const std::string_view other = ReadPiece(files[1], m_buffers[1]);
        isGoing = !piece.empty() && !other.empty();
        areEqual = piece == other;
    }
    for (std::size_t i = 0; i < 2; ++i) {
        // A file that is not open has not come to its end either.
        if (!files[i].is_open() || files[i].bad()) {
            m_tell((i == 0 ? older : newer).path, "the file cannot be read");
            areEqual = true;
        }
    }
    return areEqual;
}

}  // namespace host
