#pragma once

#include "qfkit/document/qfplugincommand.h"

// quillfen search …: see help() for the sub-commands and options. Commands that
// change the blog save the site once, at the end.
class QFBlogSearchCommand final : public QFPluginCommand
{
public:
    QFBlogSearchCommand() = default;
    Q_DISABLE_COPY_MOVE(QFBlogSearchCommand)

    QString name() const override;
    QString synopsis() const override;
    QString summary() const override;
    QString help() const override;
    int run(const QStringList &arguments, QFCommandContext &context) override;
};
