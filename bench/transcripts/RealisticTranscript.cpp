#include "transcripts/RealisticTranscript.h"

#include <QDir>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <string_view>

namespace vantry::bench {

RealisticTranscript::RealisticTranscript(unsigned seed)
    : m_random(seed)
{
    const QDir folder(QStringLiteral(VANTRY_FIXTURES "/transcripts"));
    for (const QString &name : folder.entryList({ QStringLiteral("*.jsonl") }, QDir::Files, QDir::Name)) {
        std::ifstream file(folder.filePath(name).toStdString());
        for (std::string source; std::getline(file, source);) {
            Json line = Json::parse(source);
            const std::string type = line.value("type", "");
            if (type != "user" && type != "assistant") {
                if (source.size() < 4'000)
                    m_others.push_back(std::move(line));
                continue;
            }
            const Json &content = line["message"]["content"];
            const std::string block = content.is_array() ? content[0].value("type", "") : "";
            if (block == "tool_result")
                m_results.push_back(std::move(line));
            else if (block == "tool_use")
                m_calls.push_back(std::move(line));
            else if (type == "assistant" && block == "text")
                m_texts.push_back(std::move(line));
            else if (type == "user" && content.is_string())
                m_prompts.push_back(std::move(line));
        }
    }
    if (m_prompts.empty() || m_results.empty() || m_texts.empty() || m_calls.empty() || m_others.empty())
        std::abort();
}

std::string RealisticTranscript::lines(std::size_t bytes)
{
    std::string all;
    while (all.size() < bytes)
        all += line() + '\n';
    return all;
}

void RealisticTranscript::append(const QString &path, std::size_t bytes)
{
    constexpr std::size_t part = std::size_t { 4 } << 20;
    std::ofstream file(path.toStdString(), std::ios::app | std::ios::binary);
    for (std::size_t written = 0; written < bytes;) {
        const std::string added = lines(std::min(part, bytes - written));
        file << added;
        written += added.size();
    }
    if (!file.flush())
        std::abort();
}

std::string RealisticTranscript::line()
{
    constexpr double median = 1'300;
    constexpr double spread = 2.25; // Of the natural logarithm.
    constexpr double longest = 1 << 20;
    const double drawn = std::min(median * std::exp(std::normal_distribution(0.0, spread)(m_random)), longest);
    // The envelope of a line has about 700 bytes.
    const auto length = static_cast<std::size_t>(std::max(drawn - 700, 10.0));

    const unsigned kind = below(100);
    const bool isLong = length > 4'000;
    Json line;
    if (kind < (isLong ? 70U : 25U)) {
        line = pick(m_results);
        line["message"]["content"][0]["content"] = text(length);
    } else if (kind < (isLong ? 80U : 45U)) {
        line = pick(m_calls);
        line["message"]["content"][0]["input"]["content"] = text(length);
    } else if (kind < (isLong ? 82U : 60U)) {
        line = pick(m_texts);
        line["message"]["content"][0]["text"] = text(length);
    } else if (!isLong && kind < 65U) {
        line = pick(m_prompts);
        line["message"]["content"] = text(length);
    } else {
        line = pick(m_others);
        line["content"] = text(length);
    }
    line["uuid"] = "00000000-0000-4000-8000-" + std::to_string(100'000'000'000 + ++m_number);
    return line.dump();
}

std::string RealisticTranscript::text(std::size_t length)
{
    constexpr std::array<std::string_view, 16> pieces {
        "    if (found == table.end())\n        return std::nullopt;\n",
        "src/transcripts/reader.cpp:120: ",
        "\"name\": \"value\",\n",
        "The test fails since the second line is read before the first one is complete. ",
        "const auto [end, error] = from_chars(begin, text.size());\n",
        "\t- [x] done\n",
        "\xC3\xA9t\xC3\xA9 \xE2\x80\x93 ",
        "0123456789abcdef0123456789abcdef ",
        "drwxr-xr-x 2 user user 4096 Nov 21 12:00 folder\n",
        "for each of them, ",
        "https://example.com/a/b?c=d ",
        "}\n\n",
        "// A comment that says why.\n",
        "import json\n",
        "All 120 tests passed in 3.2 seconds.\n",
        "<div class=\"row\">\n",
    };
    std::string text;
    text.reserve(length + 100);
    while (text.size() < length)
        text += pieces.at(below(pieces.size()));
    return text;
}

const RealisticTranscript::Json &RealisticTranscript::pick(const std::vector<Json> &choices)
{
    return choices.at(below(static_cast<unsigned>(choices.size())));
}

} // namespace vantry::bench
