#include "transcripts/PlainTranscript.h"
#include "transcripts/TranscriptText.h"

#include <cstdint>
#include <cstdlib>

namespace {

using namespace vantry;

/// What holds for any text must hold; a broken rule ends the run, and libFuzzer keeps the text.
void require(bool condition)
{
    if (!condition)
        std::abort();
}

void check(const QString &text)
{
    require(sanitise(text) == test::plainSanitise(text));
    if (const auto tag = extractTag(u"command-name", text))
        require(text.contains(*tag));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const auto length = static_cast<qsizetype>(size);
    check(QString::fromUtf8(reinterpret_cast<const char *>(data), length));
    // Each byte as a part of a tag: random bytes seldom make whole ones.
    static const QStringList parts {
        QStringLiteral("<system-reminder>"),
        QStringLiteral("</system-reminder>"),
        QStringLiteral("<bash-input>"),
        QStringLiteral("</bash-input>"),
        QStringLiteral("<bash-"),
        QStringLiteral("input>"),
        QStringLiteral("<ide_a>"),
        QStringLiteral("</ide_a>"),
        QStringLiteral("<ide_"),
        QStringLiteral("</ide_"),
        QStringLiteral("<"),
        QStringLiteral(">"),
        QStringLiteral("a"),
        QStringLiteral("\n"),
        QStringLiteral("<system-"),
        QStringLiteral("reminder>"),
    };
    QString text;
    for (std::size_t i = 0; i < size; ++i)
        text += parts.at(data[i] % parts.size());
    check(text);
    return 0;
}
