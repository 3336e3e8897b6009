// Looks at this desktop for the user, and says what keeps a dictation from arriving. A program of
// its own, since tarq-linux takes the options that it has and no others.

#include "Deployment.h"
#include "app/Logging.h"
#include "app/StartUp.h"
#include "assist/AssistFeatures.h"
#include "doctor/AccountFindings.h"
#include "doctor/DesktopFindings.h"
#include "doctor/MicrophoneFinding.h"
#include "doctor/Setup.h"
#include "storage/SettingsStore.h"

#include <QCommandLineParser>
#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextStream>

#include <algorithm>

using namespace Qt::StringLiterals;
using Doctor::Finding;
using Doctor::Verdict;

namespace {

QTextStream& output()
{
    static QTextStream stream(stdout);
    return stream;
}

void tell(const QString& line)
{
    output() << line << Qt::endl;
}

bool confirm(const QString& question)
{
    output() << question << " [y/N] " << Qt::flush;
    static QTextStream input(stdin);
    return input.readLine().trimmed().compare("y"_L1, Qt::CaseInsensitive) == 0;
}

QString word(Verdict verdict)
{
    switch (verdict) {
    case Verdict::Ok:
        return u"ok"_s;
    case Verdict::Hint:
        return u"hint"_s;
    case Verdict::Problem:
        break;
    }
    return u"do"_s;
}

QList<Finding> examine()
{
    const SettingsStore settings;
    const Assist::Features features = Assist::wantedFeatures();
    QList<Finding> findings = Doctor::examineDelivery(features);
    findings += Doctor::examineTools();
    findings += Doctor::examinePortals();
    findings += Doctor::examineHotkey(features);
    findings += Doctor::examineMicrophone(settings);
    findings += Doctor::examineVariables();
    findings += Doctor::examineServers();
    findings += Doctor::examineSession(settings);
    findings += Doctor::examineChannel();
    findings += Doctor::examineTray();
    findings += Doctor::examineNotifications();
    findings += Doctor::examineRecordings();
    return findings;
}

bool arrives(const QList<Finding>& findings)
{
    return std::none_of(findings.begin(), findings.end(),
        [](const Finding& finding) { return finding.verdict == Verdict::Problem; });
}

void printLines(const QList<Finding>& findings)
{
    for (const Finding& finding : findings) {
        tell(u"%1 %2: %3"_s.arg(word(finding.verdict), -4).arg(finding.subject, finding.text));
    }
}

void printJson(const QList<Finding>& findings)
{
    QJsonArray array;
    for (const Finding& finding : findings) {
        array += QJsonObject{{u"subject"_s, finding.subject}, {u"verdict"_s, word(finding.verdict)},
            {u"text"_s, finding.text}};
    }
    const QJsonObject object{{u"arrives"_s, arrives(findings)}, {u"findings"_s, array}};
    output() << QJsonDocument(object).toJson() << Qt::flush;
}

} // namespace

int main(int argc, char* argv[])
{
    installMessageHandler();
    // It shows nothing, and has to tell of a display that can't be reached.
    qunsetenv("QT_QPA_PLATFORM");
    doWithoutDisplay();
    const QGuiApplication application(argc, argv);
    keepMediaBackendSilent();
    setIdentity();
    loadEnvironmentFiles();

    QCommandLineParser parser;
    parser.setApplicationDescription(
        u"Tells whether a dictation with Tarq would arrive on this desktop, and what to do."_s);
    parser.addOptions({
        {{u"h"_s, u"help"_s}, u"Print this text."_s},
        {u"version"_s, u"Print the version."_s},
        {u"json"_s, u"Print the findings as JSON."_s},
        {u"setup"_s, u"Set Tarq up for this desktop; asks before it writes anything."_s},
        {u"undo"_s, u"Take back what --setup has written."_s},
    });
    parser.process(application);
    if (parser.isSet(u"help"_s)) {
        parser.showHelp();
    }
    if (parser.isSet(u"version"_s)) {
        parser.showVersion();
    }
    if (parser.isSet(u"setup"_s)) {
        return Doctor::setUp(confirm, tell) ? 0 : 1;
    }
    if (parser.isSet(u"undo"_s)) {
        return Doctor::undoSetUp(tell) ? 0 : 1;
    }
    const QList<Finding> findings = examine();
    if (parser.isSet(u"json"_s)) {
        printJson(findings);
    } else {
        printLines(findings);
    }
    return arrives(findings) ? 0 : 1;
}
