// Writes what is read beside the program, from the same table that it reads its command line by:
// vantry-manual FOLDER VERSION DATE.

#include "app/manual/Completions.h"
#include "app/manual/ManualPage.h"

#include <QFile>

#include <cstdio>

using namespace vantry;
using namespace Qt::StringLiterals;

namespace {

bool write(const QString &path, const QString &text)
{
    QFile file(path);
    const QByteArray bytes = text.toUtf8();
    if (file.open(QFile::WriteOnly) && file.write(bytes) == bytes.size() && file.flush())
        return true;
    std::fprintf(stderr, "%s: %s\n", qPrintable(path), qPrintable(file.errorString()));
    return false;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 4) {
        std::fputs("usage: vantry-manual FOLDER VERSION DATE\n", stderr);
        return 2;
    }
    const QString folder = QString::fromLocal8Bit(argv[1]);
    const QString page = manualPage(QString::fromLocal8Bit(argv[2]), QString::fromLocal8Bit(argv[3]));
    const bool isWritten = write(folder + u"/vantry.1", page) && write(folder + u"/vantry.bash", bashCompletion()) &&
                           write(folder + u"/_vantry", zshCompletion()) &&
                           write(folder + u"/vantry.fish", fishCompletion());
    return isWritten ? 0 : 1;
}
