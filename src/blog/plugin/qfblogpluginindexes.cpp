#include "qfblogpluginindexes.h"

#include "blog/model/qfblogentry.h"
#include "blog/plugin/qfblogentryarraycontroller.h"
#include "blog/plugin/qfblogplugin.h"

QFBlogPluginIndexes::QFBlogPluginIndexes(QFBlogPlugin &plugin)
    : m_plugin(plugin)
    , m_searchString(QLatin1String(""))
{
}

QFBlogPluginIndexes::~QFBlogPluginIndexes() = default;

void QFBlogPluginIndexes::initialiseSearchIndexes()
{
    m_indexes = std::make_unique<QFBlogSearchIndexes>();
}

void QFBlogPluginIndexes::releaseSearchIndexes()
{
    m_indexes.reset();
}

QFBlogSearchIndexes *QFBlogPluginIndexes::searchIndexes() const
{
    return m_indexes.get();
}

void QFBlogPluginIndexes::indexBlogEntry(const QFBlogEntryPtr &entry)
{
    if (m_indexes)
        m_indexes->indexBlogEntry(entry);
}

void QFBlogPluginIndexes::unindexBlogEntry(const QFBlogEntryPtr &entry)
{
    if (m_indexes)
        m_indexes->unindexBlogEntry(entry);
}

void QFBlogPluginIndexes::indexBlogEntries(const QList<QFBlogEntryPtr> &entries)
{
    if (m_indexes)
        m_indexes->indexBlogEntries(entries);
}

void QFBlogPluginIndexes::unindexBlogEntries(const QList<QFBlogEntryPtr> &entries)
{
    if (m_indexes)
        m_indexes->unindexBlogEntries(entries);
}

void QFBlogPluginIndexes::reindexBlogEntry(const QFBlogEntryPtr &entry)
{
    if (m_indexes)
        m_indexes->reindexBlogEntry(entry);
}

void QFBlogPluginIndexes::flushIndexes()
{
    if (m_indexes)
        m_indexes->flushIndexes();
}

QList<int> QFBlogPluginIndexes::searchIndex(QFBlogSearchIndexes::Index index, const QString &query) const
{
    return m_indexes ? m_indexes->searchIndex(index, query) : QList<int>();
}

QList<int> QFBlogPluginIndexes::searchAllIndexesWithQuery(const QString &query) const
{
    return m_indexes ? m_indexes->searchAllIndexesWithQuery(query) : QList<int>();
}

QString QFBlogPluginIndexes::searchString() const
{
    return m_searchString;
}

void QFBlogPluginIndexes::onSearch(const QString &text)
{
    if (m_indexes)
        m_indexes->ensureIndexed([this] { return m_plugin.posts(); });
    searchWithString(text);
    emit m_plugin.currentEntryNeedsDisplay();
}

void QFBlogPluginIndexes::searchWithString(const QString &text)
{
    setSearchString(text);
    if (text.isEmpty()) {
        m_plugin.blogEntryArrayController().updateSearchResults(std::nullopt);
        return;
    }
    // The indexes match the typed text anywhere inside a word by themselves;
    // no wildcards are needed around it.
    m_plugin.blogEntryArrayController().updateSearchResults(searchAllIndexesWithQuery(text));
}

void QFBlogPluginIndexes::clearSearch()
{
    setSearchString(QString(QLatin1String("")));
    m_plugin.blogEntryArrayController().updateSearchResults(std::nullopt);
}

bool QFBlogPluginIndexes::shouldUpdateSearchIndexes() const
{
    return m_indexes && m_indexes->shouldUpdateSearchIndexes();
}

void QFBlogPluginIndexes::setShouldUpdateSearchIndexes(bool value)
{
    if (m_indexes)
        m_indexes->setShouldUpdateSearchIndexes(value);
}

void QFBlogPluginIndexes::setSearchString(const QString &text)
{
    if (text == m_searchString)
        return;
    m_searchString = text;
    emit searchStringChanged(m_searchString);
}
