#include "base/JsonReader.h"

#include <algorithm>

namespace vantry {

void JsonReader::skipBlanks()
{
    m_position = std::min(m_text.find_first_not_of(" \t\r\n", m_position), m_text.size());
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
    for (std::size_t end = m_text.find('"', begin); end != std::string_view::npos; end = m_text.find('"', end + 1)) {
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
    const std::size_t begin = m_position;
    m_position = std::min(m_text.find_first_of(" \t\r\n,:]}", begin), m_text.size());
    return m_text.substr(begin, m_position - begin);
}

std::string_view JsonReader::readValue()
{
    skipBlanks();
    const std::size_t begin = m_position;
    std::size_t depth = 0;
    do {
        skipBlanks();
        if (m_position == m_text.size())
            break;
        switch (m_text[m_position]) {
        case '{':
        case '[':
            ++depth;
            ++m_position;
            break;
        case '}':
        case ']':
            depth -= depth > 0 ? 1 : 0;
            ++m_position;
            break;
        case ',':
        case ':':
            ++m_position;
            break;
        case '"':
            readString();
            break;
        default:
            readScalar();
        }
    } while (depth > 0);
    return m_text.substr(begin, m_position - begin);
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
