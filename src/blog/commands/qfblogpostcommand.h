#pragma once

#include "qfkit/document/qfplugincommand.h"

// quillfen post …: see help() for the sub-commands and options. Commands that
// change the blog save the site once, at the end.
class QFBlogPostCommand final : public QFPluginCommand
{
public:
    QFBlogPostCommand() = default;
    Q_DISABLE_COPY_MOVE(QFBlogPostCommand)

    QString name() const override;
    QString synopsis() const override;
    QString summary() const override;
    QString help() const override;
    int run(const QStringList &arguments, QFCommandContext &context) override;
};
