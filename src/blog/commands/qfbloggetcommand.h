#pragma once

#include "qfkit/document/qfplugincommand.h"

// quillfen get SITE [KEY] [--page NAME]: one blog setting by its key, or
// every setting the command line can show.
class QFBlogGetCommand final : public QFPluginCommand
{
public:
    QFBlogGetCommand() = default;
    Q_DISABLE_COPY_MOVE(QFBlogGetCommand)

    QString name() const override;
    QString synopsis() const override;
    QString summary() const override;
    QString help() const override;
    int run(const QStringList &arguments, QFCommandContext &context) override;
};
