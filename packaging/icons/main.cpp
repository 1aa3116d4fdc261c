// Renders the program's icon while it is built, as FOLDER/SIZExSIZE/NAME.png: vantry-icons SVG FOLDER SIZE...

#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

bool render(QSvgRenderer &drawing, int size, const QString &path)
{
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    drawing.render(&painter);
    painter.end();
    return QDir().mkpath(QFileInfo(path).path()) && image.save(path, "PNG");
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 4) {
        std::fputs("usage: vantry-icons SVG FOLDER SIZE...\n", stderr);
        return 2;
    }
    const QString source = QString::fromLocal8Bit(argv[1]);
    QSvgRenderer drawing(source);
    bool isDone = drawing.isValid();
    for (int i = 3; isDone && i < argc; ++i) {
        const QString size = QString::fromLatin1(argv[i]);
        const QString name = QFileInfo(source).completeBaseName();
        isDone = render(drawing, size.toInt(), u"%1/%2x%2/%3.png"_s.arg(QString::fromLocal8Bit(argv[2]), size, name));
    }
    if (!isDone)
        std::fprintf(stderr, "%s can't be rendered\n", argv[1]);
    return isDone ? 0 : 1;
}
