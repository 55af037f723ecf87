#include "qfexportitem.h"

QFExportItem QFExportItem::file(const QString &absolutePath)
{
    QFExportItem item;
    item.m_kind = Kind::File;
    item.m_filePath = absolutePath;
    return item;
}

QFExportItem QFExportItem::contentOnlySubpage(const QString &html, const QString &name)
{
    QFExportItem item;
    item.m_kind = Kind::ContentOnlySubpage;
    item.m_html = html;
    item.m_name = name;
    return item;
}
