#pragma once

#include <QString>

class QFTextViewPluginClient;

// One page of a site document, as the document lists it: its unique ID (what
// internal links point at), the file name and folder it is exported under,
// its title, the plugin that makes it and that plugin's name (what the file
// stores to find the plugin again; empty for a page added without one, which
// cannot be saved). A copyable description; the plugin pointer is owned by
// the document and is valid while the page is in it.
struct QFPage
{
    QString uniqueID;
    QString fileName;
    QString folder;
    QString title;
    QFTextViewPluginClient *plugin = nullptr;
    QString pluginName;
};
