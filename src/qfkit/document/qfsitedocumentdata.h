#pragma once

#include "qfkit/document/qfstoredpage.h"

#include <QList>
#include <QVariantMap>

// Everything a site document file holds: the site's properties (keys such
// as "siteTitle", see QFSiteDocumentFormat) and its pages in order. What
// QFSiteDocumentWriter saves and QFSiteDocumentReader gives back.
//
// Property values are text, integers, floating point numbers, bytes or nil
// (a null QVariant or a null QString). They come back as QString, qint64,
// double, QByteArray and a null QVariant; a bool comes back as the integer
// 0 or 1. Other kinds cannot be stored.
struct QFSiteDocumentData
{
    QVariantMap properties;
    QList<QFStoredPage> pages;
};
