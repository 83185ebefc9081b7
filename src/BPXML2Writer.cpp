// The writing half of the XML layer: tags, tabs and escapes, appended to the text of a record.
#include "src/BPXML2Support.h"

#include "src/BPNumbers.h"

#include <algorithm>
#include <cstdint>

namespace {

constexpr int kTabLimit = 50;
constexpr size_t kUtf8Limit = 255;

/// The entity for a character, or null where it stands for itself.
const char* EntityOf(char character)
{
    switch (character) {
    case '&': return "&amp;";
    case '<': return "&lt;";
    case '>': return "&gt;";
    case '"': return "&quot;";
    }
    return nullptr;
}

void AppendEscaped(std::string* text, char character)
{
    if (const char* entity = EntityOf(character)) {
        text->append(entity);
    } else {
        text->push_back(character);
    }
}

void WriteTag(BPXML2Writer* writer, const char* name, std::string_view attributes, const char* end)
{
    writer->text += '<';
    writer->text += name;
    if (!attributes.empty()) {
        writer->text += ' ';
        writer->text += attributes;
    }
    writer->text += end;
}

void WriteStart(BPXML2Writer* writer, const char* name)
{
    BPXML2_WriteIndent(writer, 0);
    WriteTag(writer, name, {}, ">");
}

void WriteEnd(BPXML2Writer* writer, const char* name)
{
    writer->text += "</";
    writer->text += name;
    writer->text += ">\n";
}

uint32_t ByteAt(std::string_view text, size_t index)
{
    return index < text.size() ? static_cast<uint8_t>(text[index]) : 0;
}

/// Length of the valid character at the start of the text, 0 when there is none that XML allows.
size_t CharacterLength(std::string_view text)
{
    const uint32_t first = ByteAt(text, 0);
    if (first < 0x80) return first >= 0x20 || first == '\t' || first == '\n' || first == '\r' ? 1 : 0;
    const size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4) return 0;
    uint32_t code = first & (0x7Fu >> length);
    for (size_t i = 1; i < length; ++i) {
        const uint32_t next = ByteAt(text, i);
        if ((next & 0xC0) != 0x80) return 0;
        code = code << 6 | (next & 0x3F);
    }
    constexpr uint32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool allowed = code >= smallest[length] && code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF) &&
                         code != 0xFFFE && code != 0xFFFF;
    return allowed ? length : 0;
}

} // namespace

void BPXML2_WriteText(BPXML2Writer* writer, std::string_view text)
{
    writer->text += text;
}

void BPXML2_WriteEscaped(BPXML2Writer* writer, std::string_view text)
{
    std::string escaped;
    const BPStatus err = BPXML2_Escape(text, &escaped);
    if (writer->status == bpNoErr) writer->status = err;
    writer->text += escaped;
}

void BPXML2_WriteIndent(BPXML2Writer* writer, int depthChange)
{
    if (depthChange < 0) writer->depth += depthChange;
    writer->text.append(static_cast<size_t>(std::clamp(writer->depth, 0, kTabLimit)), '\t');
    if (depthChange > 0) writer->depth += depthChange;
}

void BPXML2_OpenTag(BPXML2Writer* writer, const char* name, std::string_view attributes)
{
    BPXML2_WriteIndent(writer, 1);
    WriteTag(writer, name, attributes, ">\n");
}

void BPXML2_CloseTag(BPXML2Writer* writer, const char* name)
{
    BPXML2_WriteIndent(writer, -1);
    WriteEnd(writer, name);
}

void BPXML2_EmptyTag(BPXML2Writer* writer, const char* name, std::string_view attributes)
{
    BPXML2_WriteIndent(writer, 0);
    WriteTag(writer, name, attributes, "/>\n");
}

void BPXML2_FloatElement(BPXML2Writer* writer, const char* name, double value)
{
    WriteStart(writer, name);
    BPAppendFixed(&writer->text, value, 6);
    WriteEnd(writer, name);
}

void BPXML2_TextElement(BPXML2Writer* writer, const char* name, std::string_view text)
{
    WriteStart(writer, name);
    for (const char character : text) AppendEscaped(&writer->text, character);
    WriteEnd(writer, name);
}

void BPXML2_Utf8Element(BPXML2Writer* writer, const char* name, const char* text)
{
    WriteStart(writer, name);
    std::string valid = text != nullptr ? BPXML2_ValidUtf8(text) : std::string();
    if (valid.size() > kUtf8Limit) {
        size_t end = kUtf8Limit;
        while ((ByteAt(valid, end) & 0xC0) == 0x80) --end;
        valid.resize(end);
    }
    for (const char character : valid) {
        // Deliberate: XML declares no such entity, so strict readers refuse the file; existing files have it.
        if (character == '~') {
            writer->text += "&tilde;";
        } else {
            AppendEscaped(&writer->text, character);
        }
    }
    WriteEnd(writer, name);
}

BPStatus BPXML2_Escape(std::string_view text, std::string* escaped)
{
    escaped->clear();
    const size_t capacity = text.size() * 2;
    for (const char character : text) {
        const char* entity = EntityOf(character);
        const size_t length = entity != nullptr ? std::char_traits<char>::length(entity) : 1;
        // Deliberate: twice the length is all there is, and what is cut is cut before a whole entity.
        if (escaped->size() + length > capacity) return bpMemFullErr;
        AppendEscaped(escaped, character);
    }
    return bpNoErr;
}

std::string BPXML2_ValidUtf8(std::string_view text)
{
    std::string valid;
    while (!text.empty()) {
        const size_t length = CharacterLength(text);
        if (length == 0) {
            valid += "\xEF\xBF\xBD";
        } else {
            valid += text.substr(0, length);
        }
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return valid;
}
