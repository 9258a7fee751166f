// host/payload_check.h - whether the payload that manifests name is there, and what else is.
#pragma once

#include <filesystem>
#include <set>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/target_folder.h"

namespace host {

// The payload of one target's folder. One thread at a time.
class CPayloadCheck {
public:
    // `files` are those of the folder, and outlive this object.
    CPayloadCheck(const std::filesystem::path& folder, std::span<const SFoundFile> files);

    // Takes a file as CheckManifest tells it: a path relative to the folder, in the names of
    // Windows, with kSidMark for the SID of the converting user. What is not there is told now, or
    // by Finish where the SID is not known yet. With `isTold` false it is only taken as named.
    void Name(const std::u16string& file, bool isTold, const TellProblem& tell);

    // Finds the SID, and tells what is not there under it.
    void FinishNames(const TellProblem& tell);
    // After that: the regular file that such a path names; null when there is none.
    [[nodiscard]] const SFoundFile* Find(const std::u16string& file) const;
    // After that: tells the files that nobody has named but `others`, by their names.
    void TellStrays(const std::set<std::string>& others, const TellProblem& tell) const;

private:
    struct SNamed {
        std::u16string file;
        bool isTold = false;
    };

    [[nodiscard]] std::u16string KeyOf(const std::u16string& file) const;
    void Take(const SNamed& named, const std::u16string& file, const TellProblem& tell);
    [[nodiscard]] std::u16string FindSid() const;
    [[nodiscard]] std::vector<std::u16string> ListSids(const std::u16string& file) const;

    struct SEntry {
        const SFoundFile* file = nullptr;
        bool isNamed = false;
    };

    std::u16string m_folder;                               // as the library names it
    std::unordered_map<std::u16string, SEntry> m_entries;  // by PathKey
    std::vector<SNamed> m_withSid;
    std::u16string m_sid;  // empty for none, and before FinishNames
};

}  // namespace host
