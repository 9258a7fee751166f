// tests/casmodel/document_test.h - what the tests of a document's model share.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "foundation/file_path.h"
#include "support/temp_folder.h"
#include "support/text.h"

// A model, read from the text of its document.
template <class T>
class CDocumentTest : public testing::Test {
protected:
    int ReadDocument(const std::string& xml) {
        return m_model.ReadFromFile(CFilePathW(m_folder.WriteFile("document.xml", xml)));
    }
    int ReadMissingDocument() {
        return m_model.ReadFromFile(CFilePathW(m_folder.Name("missing.xml")));
    }

    CTempFolder m_folder;
    T m_model;
};

using Numbers = std::vector<std::uint32_t>;

// The texts with "|" between them.
inline std::string Joined(std::initializer_list<CStrW> texts) {
    std::string all;
    for (const CStrW& text : texts) {
        all += (all.empty() ? "" : "|") + Utf8(text);
    }
    return all;
}
