#include "base/JsonReader.h"

#include "base/JsonScalars.h"
#include "base/JsonText.h"

namespace vantry {

std::string_view JsonReader::readScalar()
{
    skipBlanks();
    const auto isOfScalar = [](char character) {
        return (character >= '0' && character <= '9') || (character >= 'a' && character <= 'z') || character == '-' ||
               character == '+' || character == '.' || character == 'E';
    };
    const std::size_t begin = m_position;
    while (m_position < m_text.size() && isOfScalar(m_text[m_position]))
        ++m_position;
    const std::string_view scalar = m_text.substr(begin, m_position - begin);
    if (scalar != "true" && scalar != "false" && scalar != "null" && !isJsonNumber(scalar))
        fail();
    return scalar;
}

std::string_view JsonReader::readValue() // NOLINT(misc-no-recursion): its depth is limited.
{
    skipBlanks();
    const std::size_t begin = m_position;
    switch (next()) {
    case Kind::Object:
        readObject([this](std::string_view) { readValue(); });
        break;
    case Kind::Array:
        readArray([this] { readValue(); });
        break;
    case Kind::String:
        readString();
        break;
    case Kind::Scalar:
        readScalar();
        break;
    case Kind::Nothing:
        fail();
        break;
    }
    return m_text.substr(begin, m_position - begin);
}

void JsonReader::open()
{
    skipBlanks();
    if (m_position == m_text.size() || m_depth == maximumJsonDepth)
        return fail();
    ++m_position;
    ++m_depth;
}

bool isSoundJson(std::string_view text)
{
    JsonReader reader(text, JsonReader::Strings::Checked);
    reader.readValue();
    return reader.isAtEnd();
}

} // namespace vantry
