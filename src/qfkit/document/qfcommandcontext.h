#pragma once

#include "qfkit/document/qfpage.h"

#include <QString>
#include <memory>

class QFCommandLineAlertPresenter;
class QFPluginRegistry;
class QFSiteDocument;
class QTextStream;

// What a command of the command line works with: its output and error
// streams, the known plugins, the presenter that answers alerts, and the
// opening, saving and page choice every site command shares.
//
// Nothing is owned: the host keeps the streams, the registry and the
// presenter alive while a command runs.
class QFCommandContext final
{
public:
    QFCommandContext(QTextStream &out, QTextStream &err, const QFPluginRegistry &registry,
                     QFCommandLineAlertPresenter *alertPresenter = nullptr);
    Q_DISABLE_COPY_MOVE(QFCommandContext)

    QTextStream &out() const;
    QTextStream &err() const;
    const QFPluginRegistry &registry() const;
    // Null when the host answers alerts some other way.
    QFCommandLineAlertPresenter *alertPresenter() const;

    // QFSiteDocument::open with the registry; its errors name the file.
    std::unique_ptr<QFSiteDocument> openDocument(const QString &path) const;
    // Saves the document to its file.
    void saveDocument(QFSiteDocument &document) const;

    // The page of the document made by pluginName that `page` names (its
    // unique ID, else its file name, else its title); the first such page
    // for an empty `page`. QFException("No Such Page") naming the file when
    // there is none.
    static QFPage pickPage(const QFSiteDocument &document, const QString &pluginName, const QString &page);

private:
    QTextStream &m_out;
    QTextStream &m_err;
    const QFPluginRegistry &m_registry;
    QFCommandLineAlertPresenter *m_alertPresenter = nullptr;
};
