#include "base/JsonReader.h"

#include <algorithm>

namespace vantry {
namespace {

constexpr bool isBlank(char character)
{
    return character == ' ' || character == '\t' || character == '\r' || character == '\n';
}

/// The next quote, from a place on that has two characters before it. Passes over quotes that are plainly escaped: by
/// one backslash alone. Long strings are full of those, so they are looked for in blocks that a compiler turns into
/// vector instructions, instead of one by one.
std::size_t nextQuote(std::string_view text, std::size_t from)
{
    constexpr std::size_t blockSize = 256;
    for (; from + blockSize <= text.size(); from += blockSize) {
        const char *const block = text.data() + from;
        unsigned char found = 0;
        for (std::size_t i = 0; i < blockSize; ++i) {
            const char *const at = block + i;
            const bool isEscaped = (at[-1] == '\\') & (at[-2] != '\\');
            found |= static_cast<unsigned char>((*at == '"') & !isEscaped);
        }
        if (found != 0)
            break;
    }
    return text.find('"', from);
}

} // namespace

void JsonReader::skipBlanks()
{
    while (m_position < m_text.size() && isBlank(m_text[m_position]))
        ++m_position;
}

JsonReader::Kind JsonReader::next()
{
    skipBlanks();
    if (m_position == m_text.size())
        return Kind::Nothing;
    switch (m_text[m_position]) {
    case '{':
        return Kind::Object;
    case '[':
        return Kind::Array;
    case '"':
        return Kind::String;
    case '}':
    case ']':
    case ',':
    case ':':
        return Kind::Nothing;
    default:
        return Kind::Scalar;
    }
}

std::string_view JsonReader::readString()
{
    skipBlanks();
    const std::size_t begin = std::min(m_position + 1, m_text.size());
    for (std::size_t end = m_text.find('"', begin); end != std::string_view::npos; end = nextQuote(m_text, end + 1)) {
        // The quote is the closing one unless an odd number of backslashes stands before it.
        std::size_t backslashes = 0;
        while (end - backslashes > begin && m_text[end - backslashes - 1] == '\\')
            ++backslashes;
        if (backslashes % 2 == 0) {
            m_position = end + 1;
            return m_text.substr(begin, end - begin);
        }
    }
    m_position = m_text.size();
    return m_text.substr(begin);
}

std::string_view JsonReader::readScalar()
{
    skipBlanks();
    const auto endsScalar = [](char character) {
        return isBlank(character) || character == ',' || character == ':' || character == ']' || character == '}';
    };
    const std::size_t begin = m_position;
    while (m_position < m_text.size() && !endsScalar(m_text[m_position]))
        ++m_position;
    return m_text.substr(begin, m_position - begin);
}

std::string_view JsonReader::readValue()
{
    skipBlanks();
    const std::size_t begin = m_position;
    switch (next()) {
    case Kind::Object:
    case Kind::Array:
        skipCompound();
        break;
    case Kind::String:
        readString();
        break;
    case Kind::Scalar:
        readScalar();
        break;
    case Kind::Nothing:
        m_position = std::min(m_position + 1, m_text.size());
        break;
    }
    return m_text.substr(begin, m_position - begin);
}

void JsonReader::skipCompound()
{
    std::size_t depth = 0;
    while (m_position < m_text.size()) {
        switch (m_text[m_position]) {
        case '"':
            readString();
            continue;
        case '{':
        case '[':
            ++depth;
            break;
        case '}':
        case ']':
            --depth;
            break;
        default:
            break;
        }
        ++m_position;
        if (depth == 0)
            return;
    }
}

void JsonReader::open()
{
    skipBlanks();
    m_position = std::min(m_position + 1, m_text.size());
}

void JsonReader::skip(char punctuation)
{
    skipBlanks();
    if (m_position < m_text.size() && m_text[m_position] == punctuation)
        ++m_position;
}

bool JsonReader::closes(char bracket)
{
    skipBlanks();
    if (m_position == m_text.size() || m_text[m_position] != bracket)
        return false;
    ++m_position;
    return true;
}

} // namespace vantry
