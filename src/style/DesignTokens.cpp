#include "style/DesignTokens.h"

#include <QFile>

#include <nlohmann/json.hpp>

namespace vantry::designTokens {

const nlohmann::json &document()
{
    static const nlohmann::json document = [] {
        QFile file(QStringLiteral(":/vantry/style/tokens.json"));
        if (!file.open(QFile::ReadOnly))
            qFatal("tokens.json is not part of the program");
        const auto bytes = file.readAll();
        return nlohmann::json::parse(bytes.begin(), bytes.end());
    }();
    return document;
}

Palette palette(const char *theme)
{
    const auto &colors = document().at("colors").at(theme);
    const auto color = [&colors](const char *name) {
        return QColor(QString::fromStdString(colors.at(name).get<std::string>()));
    };
    return {
#define VANTRY_COLOR_VALUE(name) .name = color(#name),
        VANTRY_COLORS(VANTRY_COLOR_VALUE)
#undef VANTRY_COLOR_VALUE
    };
}

qreal length(const char *name)
{
    return document().at("lengths").at(name).get<qreal>();
}

QStringList families(const char *kind)
{
    QStringList result;
    for (const auto &family : document().at("families").at(kind))
        result += QString::fromStdString(family.get<std::string>());
    return result;
}

const QHash<QString, QString> &symbols()
{
    static const auto symbols = [] {
        QHash<QString, QString> result;
        for (const auto &[name, icon] : document().at("symbols").items())
            result.insert(QString::fromStdString(name), QString::fromStdString(icon.get<std::string>()));
        return result;
    }();
    return symbols;
}

} // namespace vantry::designTokens
