#include "app/control/Doctor.h"

#include "app/control/TextTable.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>

namespace vantry {

using namespace Qt::StringLiterals;
using Weight = DoctorCheck::Weight;

namespace {

/// What the looks have found so far. Each of their threads holds it, so that one that comes late finds it still there.
class Findings
{
public:
    explicit Findings(std::size_t count)
        : m_found(count)
        , m_missing(count)
    {}

    void add(std::size_t index, QList<DoctorCheck> checks)
    {
        const std::scoped_lock lock(m_mutex);
        m_found[index] = std::move(checks);
        --m_missing;
        m_changed.notify_all();
    }

    /// For each look what it has found; nothing of one that has not ended in time.
    [[nodiscard]] std::vector<std::optional<QList<DoctorCheck>>> wait(std::chrono::milliseconds patience)
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait_for(lock, patience, [this] { return m_missing == 0; });
        return m_found;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<std::optional<QList<DoctorCheck>>> m_found;
    std::size_t m_missing;
};

QList<DoctorCheck> lookAt(const DoctorInspection &inspection)
{
    try {
        return inspection.look();
    } catch (const std::exception &error) {
        return { { .name = inspection.name,
                   .detail = u"It can't be looked at: %1"_s.arg(QString::fromUtf8(error.what())),
                   .advice = u"Try again"_s,
                   .weight = inspection.weight } };
    }
}

/// The text in lines of at most this width, where words allow it.
QStringList wrapped(const QString &text, int width)
{
    QStringList lines;
    QString line;
    for (const QString &word : text.split(u' ')) {
        if (!line.isEmpty() && displayWidth(line) + 1 + displayWidth(word) > width)
            lines.append(std::exchange(line, QString()));
        line += line.isEmpty() ? word : u' ' + word;
    }
    return lines << line;
}

/// The detail and the advice as they stand behind a front that is so wide.
QString body(const DoctorCheck &check, qsizetype frontWidth, const TextStyle &style)
{
    constexpr int leastWidth = 30;
    const QString detail = displayText(check.detail);
    const QString advice = displayText(check.advice.value_or(QString()));
    const int width = style.width - static_cast<int>(frontWidth);
    if (width < leastWidth)
        return advice.isEmpty() ? detail : detail + u". " + advice;
    const QString below = u'\n' + QString(frontWidth, u' ');
    QString text = wrapped(detail, width).join(below);
    if (!advice.isEmpty())
        text += below + u"→ " + wrapped(advice, width - 2).join(below + u"  ");
    return text;
}

} // namespace

DoctorReport inspectAll(const std::vector<DoctorInspection> &inspections, std::chrono::milliseconds patience)
{
    const auto findings = std::make_shared<Findings>(inspections.size());
    for (std::size_t index = 0; index < inspections.size(); ++index) {
        const auto look = [findings, index, inspection = inspections[index]] {
            findings->add(index, lookAt(inspection));
        };
        try {
            std::thread(look).detach();
        } catch (const std::system_error &) {
            look();
        }
    }

    DoctorReport report;
    const auto found = findings->wait(patience);
    for (std::size_t index = 0; index < inspections.size(); ++index) {
        if (found[index]) {
            report.checks += *found[index];
            continue;
        }
        report.isFinished = false;
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(patience).count();
        report.checks.append({ .name = inspections[index].name,
                               .detail = u"No answer within %1 seconds"_s.arg(seconds),
                               .advice = u"What is asked here hangs: end it or start it again, then look once more"_s,
                               .weight = inspections[index].weight });
    }
    return report;
}

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
    qsizetype nameWidth = 0;
    for (const DoctorCheck &check : checks)
        nameWidth = std::max(nameWidth, check.name.size());

    QString text;
    for (const DoctorCheck &check : checks) {
        const bool isEssential = check.weight == Weight::Essential;
        const QString verdict = check.ok ? u"ok  "_s : isEssential ? u"FAIL"_s : u"note"_s;
        const Paint paint = check.ok ? Paint::Good : isEssential ? Paint::Urgent : Paint::Question;
        const QString name = u"  " + check.name.leftJustified(nameWidth) + u"  ";
        text += painted(verdict, paint, style) + name + body(check, verdict.size() + name.size(), style) + u'\n';
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
        if (!check.ok && check.weight == Weight::Essential)
            failed.append(check.name);
    }
    if (failed.isEmpty())
        return exitCode::done;
    console.printError(u"needs you: %1"_s.arg(failed.join(u", "_s)).toStdString());
    return exitCode::refused;
}

} // namespace vantry
