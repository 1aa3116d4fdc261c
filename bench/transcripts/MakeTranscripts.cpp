// Fills a folder of projects with realistic transcripts, for measurements of the whole program.
// Usage: make_transcripts FOLDER COUNT MEGABYTES

#include "transcripts/RealisticTranscript.h"

#include <QDir>
#include <QString>

#include <cstdlib>
#include <string>

int main(int argc, char **argv)
{
    if (argc != 4)
        return 2;
    const QString projects = QString::fromLocal8Bit(argv[1]);
    const int count = std::atoi(argv[2]);
    const std::size_t size = (std::stoul(argv[3]) << 20) / static_cast<std::size_t>(count);
    vantry::bench::RealisticTranscript transcript;
    for (int i = 0; i < count; ++i) {
        const QString project = projects + QStringLiteral("/-home-user-project%1").arg(i % 10);
        if (!QDir().mkpath(project))
            return 1;
        transcript.append(project + QStringLiteral("/0f1c5e2a-0000-4000-8000-%1.jsonl").arg(i, 12, 10, QChar(u'0')),
                          size);
    }
    return 0;
}
