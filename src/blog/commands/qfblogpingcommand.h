#pragma once

#include "qfkit/document/qfplugincommand.h"

// quillfen ping SITE [--page NAME]: pings the blog page's weblog directories
// now, as the editor's ping button does (in list order, stopping at the first
// failure), whether or not pinging after publishing is on. One line per
// service on the output, "name: ok", "name: failed: reason" or, after a
// failure, "name: not pinged"; the alerts of the ping go to the error
// stream. Exit 1 when a service failed. The site is not changed.
class QFBlogPingCommand final : public QFPluginCommand
{
public:
    QFBlogPingCommand() = default;
    Q_DISABLE_COPY_MOVE(QFBlogPingCommand)

    QString name() const override;
    QString synopsis() const override;
    QString summary() const override;
    QString help() const override;
    int run(const QStringList &arguments, QFCommandContext &context) override;
};
