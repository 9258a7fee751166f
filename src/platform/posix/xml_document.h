// platform/posix/xml_document.h - a whole XML document, as libxml2 reports it.
#pragma once

#include <libxml/tree.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/xml.h"

namespace platform {

struct SXmlNode {
    EXmlNode type = EXmlNode::None;
    bool isAttribute = false;  // attributes follow their element, and have no type
    bool isEmptyElement = false;
    std::uint32_t line = 0;  // where the node starts
    const char* prefix = "";
    const char* name = "";
    std::size_t valueStart = 0;
};

// The nodes in the order of the document. No node refers to another, so that depth costs no stack
// and no time, neither to read nor to free. Text is UTF-8.
//
// INVARIANT: the value of a node is the part of `m_values` from its `valueStart` to that of the
// next node. Names and prefixes are owned by `m_names`, which outlives the parser.
class CXmlDocument {
public:
    // Reads the document from `descriptor`. 0, or the HRESULT of the first fault; the nodes before
    // it are there.
    [[nodiscard]] int Parse(int descriptor);

    // Reads it in parts: before each tag, and at the end, the document has the nodes since the last
    // call of `take`, which is called with them and must not throw anything but std::bad_alloc.
    // Then they go. `line` is where the reading ended.
    [[nodiscard]] int Parse(int descriptor, const std::function<void()>& take, std::uint32_t& line);

    [[nodiscard]] std::size_t GetCount() const { return m_nodes.size(); }
    [[nodiscard]] const SXmlNode& GetNode(std::size_t index) const { return m_nodes[index]; }
    [[nodiscard]] std::string_view GetValue(std::size_t index) const;

private:
    friend class CXmlParser;

    struct SDictionaryFree {
        void operator()(xmlDict* dictionary) const { xmlDictFree(dictionary); }
    };

    std::vector<SXmlNode> m_nodes;
    std::string m_values;                               // all values, one after the other
    std::unique_ptr<xmlDict, SDictionaryFree> m_names;  // owns the prefixes and names
};

}  // namespace platform
