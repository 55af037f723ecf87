#pragma once

#include <QString>

class QFTextViewPluginClient;

// One page of a site document, as the document lists it: its unique ID (what
// internal links point at), the file name and folder it is exported under,
// its title, and the plugin that makes it. A copyable description; the
// plugin pointer is owned by the document and is valid while the page is in
// it.
struct QFPage
{
    QString uniqueID;
    QString fileName;
    QString folder;
    QString title;
    QFTextViewPluginClient *plugin = nullptr;
};
