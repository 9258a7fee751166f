#include "orvpackage/attribute_table.h"

#include "foundation/xml_writer.h"
#include "orvpackage/package.h"

namespace {

// A text that begins with NUL counts as empty, because a text of Windows would end there.
bool IsLeftOut(std::u16string_view value, EWritten written) {
    return written == IfAny && (value.empty() || value.front() == u'\0');
}

}  // namespace

// A failure to write is kept by the writer, which then writes nothing more.
void SAttributeOutput::Write(std::u16string_view value, EWritten written) const {
    if (!IsLeftOut(value, written)) {
        writer.WriteAttribute(name, value);
    }
}

void SAttributeOutput::WritePlain(std::u16string_view value) const {
    writer.WritePlainAttribute(name, value);
}

void SAttributeOutput::WritePortable(std::u16string_view value, std::uint32_t flags,
                                     EWritten written) const {
    if (!IsLeftOut(value, written)) {
        // The sanitizer copies only texts that it changes, which most are not.
        std::u16string buffer;
        writer.WriteAttribute(name, package.GetSanitizer().Sanitize(value, flags, buffer));
    }
}
