// quillfen: the command line of the Quillfen blog engine.
//
// Exit codes: 0 ok, 1 the command failed, 2 the command was used wrongly.
// Errors go to stderr and name the file or service and the problem.
#include "qfkit/support/qfexception.h"

#include <QCoreApplication>
#include <QStringList>
#include <QTextStream>
#include <cstdio>

namespace {

enum ExitCode { ExitOk = 0, ExitFailed = 1, ExitUsage = 2 };

struct Command
{
    const char *name;
    const char *synopsis;
    const char *summary;
    int (*run)(const QStringList &args);
};

QTextStream &out()
{
    static QTextStream s(stdout);
    return s;
}

QTextStream &err()
{
    static QTextStream s(stderr);
    return s;
}

// Commands come with the pieces that implement them; the table lists them in
// the order a user meets them.
const Command commands[] = {
    {nullptr, nullptr, nullptr, nullptr},
};

void printUsage(QTextStream &s)
{
    s << "Usage: quillfen [--help] [--version] COMMAND [ARGS...]\n"
         "\n"
         "Quillfen writes and publishes blogs: dated posts with categories, tags and\n"
         "podcasts, exported as a static site with archives and an RSS feed.\n";
    bool any = false;
    for (const Command &c : commands) {
        if (!c.name)
            continue;
        if (!any)
            s << "\nCommands:\n";
        any = true;
        s << "  " << QString::fromLatin1(c.synopsis).leftJustified(44) << ' ' << c.summary << '\n';
    }
    s << "\nRun 'quillfen COMMAND --help' for a command's options.\n";
    s.flush();
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("quillfen"));
    QCoreApplication::setApplicationVersion(QStringLiteral(QUILLFEN_VERSION));

    QStringList args = app.arguments().mid(1);
    if (args.isEmpty()) {
        printUsage(err());
        return ExitUsage;
    }
    const QString first = args.takeFirst();
    if (first == QLatin1String("--help") || first == QLatin1String("-h") || first == QLatin1String("help")) {
        printUsage(out());
        return ExitOk;
    }
    if (first == QLatin1String("--version")) {
        out() << "quillfen " << QUILLFEN_VERSION << '\n';
        return ExitOk;
    }
    for (const Command &c : commands) {
        if (c.name && first == QLatin1String(c.name)) {
            try {
                return c.run(args);
            } catch (const QFException &e) {
                err() << "quillfen " << c.name << ": " << e.name() << ": " << e.reason() << '\n';
                return ExitFailed;
            } catch (const QFAssertionFailure &e) {
                err() << "quillfen " << c.name << ": internal error: " << e.text() << " (" << e.sourceFile() << ")\n";
                return ExitFailed;
            }
        }
    }
    err() << "quillfen: unknown command '" << first << "'\n\n";
    printUsage(err());
    return ExitUsage;
}
