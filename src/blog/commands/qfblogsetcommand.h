#pragma once

#include "qfkit/document/qfplugincommand.h"

// quillfen set SITE KEY VALUE [--page NAME]: changes one blog setting through
// its setter (so its change report and validation run) and saves the site.
class QFBlogSetCommand final : public QFPluginCommand
{
public:
    QFBlogSetCommand() = default;
    Q_DISABLE_COPY_MOVE(QFBlogSetCommand)

    QString name() const override;
    QString synopsis() const override;
    QString summary() const override;
    QString help() const override;
    int run(const QStringList &arguments, QFCommandContext &context) override;
};
