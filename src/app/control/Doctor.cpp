#include "app/control/Doctor.h"

#include "app/control/TextTable.h"

#include <algorithm>

namespace vantry {

using namespace Qt::StringLiterals;

Json doctorJson(const QList<DoctorCheck> &checks)
{
    Json array = Json::array();
    for (const DoctorCheck &check : checks) {
        array.push_back(Json {
            { "name", jsonString(check.name) },
            { "ok", check.ok },
            { "detail", jsonString(check.detail) },
            { "advice", check.advice ? Json(jsonString(*check.advice)) : Json(nullptr) },
        });
    }
    return Json { { "checks", std::move(array) } };
}

QString doctorText(const QList<DoctorCheck> &checks, const TextStyle &style)
{
    using Weight = DoctorCheck::Weight;
    qsizetype nameWidth = 0;
    for (const DoctorCheck &check : checks)
        nameWidth = std::max(nameWidth, check.name.size());

    QString text;
    for (const DoctorCheck &check : checks) {
        const bool isEssential = check.weight == Weight::Essential;
        const QString verdict = check.ok ? u"ok  "_s : isEssential ? u"FAIL"_s : u"note"_s;
        const Paint paint = check.ok ? Paint::Good : isEssential ? Paint::Urgent : Paint::Question;
        text += painted(verdict, paint, style) + u"  " + check.name.leftJustified(nameWidth) + u"  " +
                displayText(check.detail);
        if (check.advice)
            text += u". " + displayText(*check.advice);
        text += u'\n';
    }
    return text;
}

int printDoctor(const command::Doctor &command, const QList<DoctorCheck> &checks, Console &console)
{
    if (command.form == OutputForm::Json)
        console.print(jsonLine(doctorJson(checks)) + '\n');
    else
        console.print(doctorText(checks, console.style()).toStdString());

    QStringList failed;
    for (const DoctorCheck &check : checks) {
        if (!check.ok && check.weight == DoctorCheck::Weight::Essential)
            failed.append(check.name);
    }
    if (failed.isEmpty())
        return exitCode::done;
    console.printError(u"needs you: %1"_s.arg(failed.join(u", "_s)).toStdString());
    return exitCode::refused;
}

} // namespace vantry
