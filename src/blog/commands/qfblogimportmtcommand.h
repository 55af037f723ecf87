#pragma once

#include "qfkit/document/qfplugincommand.h"

// quillfen import-mt SITE FILE: adds the entries of a Movable Type export
// file to a blog, mapping the file's categories to the blog's (--map), and
// saves the site once. Files the reader cannot take as they are (not UTF-8,
// CR LF line ends, a byte order mark) are refused with a word on --convert,
// which converts them first. See help().
class QFBlogImportMTCommand final : public QFPluginCommand
{
public:
    QFBlogImportMTCommand() = default;
    Q_DISABLE_COPY_MOVE(QFBlogImportMTCommand)

    QString name() const override;
    QString synopsis() const override;
    QString summary() const override;
    QString help() const override;
    int run(const QStringList &arguments, QFCommandContext &context) override;
};
