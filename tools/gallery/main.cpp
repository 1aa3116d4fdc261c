#include "gallery/ClippedText.h"
#include "gallery/Pictures.h"

#include <QCommandLineParser>
#include <QDir>
#include <QGuiApplication>
#include <QQuickWindow>
#include <QTextStream>

#include <algorithm>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

using namespace vantry::gallery;

QStringList warnings;

/// Views have nothing to warn of.
void takeMessage(QtMsgType type, const QMessageLogContext & /*context*/, const QString &message)
{
    if (type != QtDebugMsg && type != QtInfoMsg)
        warnings.append(message);
    else
        fprintf(stderr, "%s\n", qUtf8Printable(message));
}

/// Renders a picture in one theme. What is wrong with it.
QStringList render(const Picture &picture, bool dark, const QDir &folder)
{
    warnings.clear();
    QGuiApplication::setLayoutDirection(picture.direction);
    vantry::DesktopPreferences::Values preferences = picture.preferences;
    preferences.prefersDark = dark;
    preferences.reducedMotion = true;
    preferences.fontFamily = u"Inter"_s;
    preferences.fixedFontFamily = u"JetBrains Mono"_s;

    PanelWorld world;
    world.panel().setVisible(true);
    picture.prepare(world);
    const auto view = picture.frame ? std::make_unique<PictureView>(world, preferences, picture.frame(world, dark))
                                    : std::make_unique<PictureView>(world, preferences);
    if (!view->window().rootObject())
        return warnings + QStringList(u"it can't be loaded"_s);
    if (picture.act)
        picture.act(*view);
    const QImage image = view->grab();
    const QString ratio = image.devicePixelRatio() > 1 ? u"@%1x"_s.arg(image.devicePixelRatio()) : QString();
    const QString file = picture.name + (dark ? u"-dark"_s : u"-light"_s) + ratio + u".png"_s;
    QStringList faults = warnings + faultsOfTexts(view->window().rootObject());
    if (!image.save(folder.filePath(file)))
        faults.append(u"the picture can't be written"_s);
    return faults;
}

} // namespace

/// The picture gallery of the panel. The scale is the environment's QT_SCALE_FACTOR.
int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    const QGuiApplication application(argc, argv);
    QTextStream out(stdout);

    QCommandLineParser parser;
    parser.setApplicationDescription(u"Renders the panel's screens to pictures, and says what is wrong with them."_s);
    parser.addHelpOption();
    parser.addOption({ u"list"_s, u"Prints the names of the pictures."_s });
    parser.addOption({ u"source"_s,
                       u"Takes the QML files from the source folder (src), so that a change of one needs no build."_s,
                       u"folder"_s });
    parser.addPositionalArgument(u"folder"_s, u"Where the pictures go."_s);
    parser.addPositionalArgument(u"names"_s, u"The pictures to render; all by default."_s, u"[name...]"_s);
    parser.process(application);
    if (parser.isSet(u"list"_s)) {
        for (const Picture &picture : pictures())
            out << picture.name << '\n';
        return 0;
    }
    if (parser.isSet(u"source"_s))
        PictureView::readQmlFrom(parser.value(u"source"_s));
    QStringList names = parser.positionalArguments();
    if (names.isEmpty())
        parser.showHelp(2);
    const QDir folder(names.takeFirst());
    folder.mkpath(u"."_s);

    qInstallMessageHandler(takeMessage);
    bool isFine = true;
    for (const Picture &picture : pictures()) {
        if (!names.isEmpty() && !names.contains(picture.name))
            continue;
        for (const bool dark : { false, true }) {
            const QStringList faults = render(picture, dark, folder);
            for (const QString &fault : faults)
                out << picture.name << (dark ? " (dark): " : " (light): ") << fault << '\n';
            out.flush();
            isFine = isFine && faults.isEmpty();
        }
    }
    return isFine ? 0 : 1;
}
