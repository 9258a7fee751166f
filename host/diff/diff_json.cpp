#include "host/diff/diff_json.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "host/console.h"
#include "host/diff/diff_text.h"
#include "host/diff/item_changes.h"
#include "host/item_json.h"

namespace host {

namespace {

using Text = std::u16string_view;

// An attribute that no manifest has may be called as another member is.
void WriteKey(CJsonWriter& json, Text name) {
    constexpr Text kMembers[] = {u"element", u"data", u"text", u"parts", u"payload"};
    const bool isTaken = std::ranges::find(kMembers, name) != std::end(kMembers);
    json.Key((isTaken ? "@" : "") + Printable(name));
}

void WriteParts(CJsonWriter& json, const SPlainItem& item) {
    json.Key("parts");
    json.BeginArray();
    for (const SPlainPart& part : item.parts) {
        json.BeginObject();
        json.Key("element");
        json.Text(part.element);
        for (const SPlainAttribute& attribute : part.attributes) {
            WriteKey(json, attribute.name);
            json.Text(attribute.value);
        }
        if (!part.text.empty()) {
            json.Key("text");
            json.Text(part.text);
        }
        json.EndObject();
    }
    json.EndArray();
}

void WritePayload(CJsonWriter& json, const SDifference& difference, bool isNewer,
                  CFileContents& contents) {
    json.Key("payload");
    json.BeginArray();
    for (const SPayloadChange& change : difference.payload) {
        const SPayloadName& name = isNewer ? change.newer : change.older;
        if (name.source.empty()) {
            continue;
        }
        json.BeginObject();
        json.Key("source");
        json.Text(name.source);
        if (name.file != nullptr) {
            json.Key("bytes");
            json.Number(static_cast<std::int64_t>(contents.GetSize(*name.file)));
            json.Key("sha256");
            json.Ascii(contents.GetSum(*name.file));
        }
        json.EndObject();
    }
    json.EndArray();
}

void WriteIdentity(CJsonWriter& json, const SPlainItem& item) {
    json.Key("identity");
    json.BeginObject();
    if (item.place != 0) {
        json.Key("place");
        WriteExactNumber(item.place, json);
    }
    for (const Text name : GetIdentity(item.collection)) {
        if (const Text value = GetAttribute(item, name); !value.empty()) {
            WriteKey(json, name);
            json.Text(value);
        }
    }
    json.EndObject();
}

// All of an item but its identity.
void WriteItem(CJsonWriter& json, const SPlainItem& item) {
    const auto identity = GetIdentity(item.collection);
    json.BeginObject();
    for (const SPlainAttribute& attribute : item.attributes) {
        if (std::ranges::find(identity, Text(attribute.name)) == identity.end()) {
            WriteKey(json, attribute.name);
            json.Text(attribute.value);
        }
    }
    if (IsValue(item)) {
        WriteValueData(GetAttribute(item, u"Type"), item.text, json);
    } else if (!item.text.empty()) {
        json.Key("text");
        json.Text(item.text);
    }
    if (!item.parts.empty()) {
        WriteParts(json, item);
    }
    json.EndObject();
}

// One side of a change: what the other side has not, or has otherwise.
void WriteSide(CJsonWriter& json, const SDifference& difference, bool isNewer,
               CFileContents& contents) {
    const SPlainItem& item = isNewer ? *difference.newer : *difference.older;
    const SPlainItem& other = isNewer ? *difference.older : *difference.newer;
    json.BeginObject();
    if (item.element != other.element) {
        json.Key("element");
        json.Text(item.element);
    }
    ForEachChange(item, other, [&](const auto& name, auto own, auto /*others*/) {
        WriteKey(json, name);
        if (own) {
            json.Text(*own);
        } else {
            json.Null();
        }
    });
    if (item.text != other.text && IsValue(item)) {
        WriteValueData(GetAttribute(item, u"Type"), item.text, json);
    } else if (item.text != other.text) {
        json.Key("text");
        json.Text(item.text);
    }
    // Parts with payload differ by it, or in number.
    if (!std::ranges::equal(ListParts(item), ListParts(other),
                            [](const auto* left, const auto* right) { return *left == *right; })) {
        WriteParts(json, item);
    }
    if (!difference.payload.empty()) {
        WritePayload(json, difference, isNewer, contents);
    }
    json.EndObject();
}

}  // namespace

void WriteStart(CJsonWriter& json, EChange change, Text target, Text manifest) {
    json.Key("change");
    json.Ascii(GetChangeName(change));
    if (!target.empty()) {
        json.Key("target");
        json.Text(target);
    }
    if (!manifest.empty()) {
        json.Key("manifest");
        json.Text(manifest);
    }
}

void WriteDifference(CJsonWriter& json, Text target, Text manifest, const SDifference& difference,
                     CFileContents& contents) {
    const SPlainItem& item = AnyItem(difference);
    json.BeginObject();
    WriteStart(json, difference.change, target, manifest);
    json.Key("collection");
    json.Text(item.collection);
    json.Key("element");
    json.Text(item.element);
    WriteIdentity(json, item);
    const bool isChanged = difference.change == EChange::Changed;
    for (const bool isNewer : {false, true}) {
        if ((isNewer ? difference.newer : difference.older) == nullptr) {
            continue;
        }
        json.Key(isNewer ? "new" : "old");
        if (isChanged) {
            WriteSide(json, difference, isNewer, contents);
        } else {
            WriteItem(json, item);
        }
    }
    json.EndObject();
}

}  // namespace host
