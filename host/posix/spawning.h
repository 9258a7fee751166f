// host/posix/spawning.h - what starting another program needs.
#pragma once

#include <unistd.h>

#include <string>
#include <vector>

namespace host {

// A file descriptor that is closed with its object. One thread at a time.
class CDescriptor {
public:
    // Takes what open and the like have returned, also -1.
    explicit CDescriptor(int descriptor) : m_descriptor(descriptor) {}
    ~CDescriptor() {
        if (m_descriptor >= 0) {
            close(m_descriptor);
        }
    }
    CDescriptor(const CDescriptor&) = delete;
    CDescriptor& operator=(const CDescriptor&) = delete;

    [[nodiscard]] int Get() const { return m_descriptor; }

private:
    int m_descriptor;
};

// The words as exec takes them: their addresses, which are valid as long as they are, and a null.
[[nodiscard]] inline std::vector<char*> Pointers(std::vector<std::string>& words) {
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

}  // namespace host
