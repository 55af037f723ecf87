#pragma once

#include "qfkit/document/qfplugincommand.h"

// quillfen category …: see help() for the sub-commands and options. Commands that
// change the blog save the site once, at the end.
class QFBlogCategoryCommand final : public QFPluginCommand
{
public:
    QFBlogCategoryCommand() = default;
    Q_DISABLE_COPY_MOVE(QFBlogCategoryCommand)

    QString name() const override;
    QString synopsis() const override;
    QString summary() const override;
    QString help() const override;
    int run(const QStringList &arguments, QFCommandContext &context) override;
};
