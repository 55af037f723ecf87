#pragma once

#include <QByteArray>
#include <QtGlobal>

// The shared vocabulary of the site document file (.qfsite): one SQLite 3
// database per site, written by QFSiteDocumentWriter and read by
// QFSiteDocumentReader. The layout, the checks made on opening and the way a
// save replaces the old file are described in docs/FORMATS.md, section
// "Site document (.qfsite)"; change both together.
namespace QFSiteDocumentFormat {

inline constexpr char FileSuffix[] = "qfsite";

// Stored in the database header (PRAGMA application_id), so a database of
// another program is told apart before any table is read. "QFSD" in ASCII.
inline constexpr qint32 ApplicationID = 0x51465344;
// PRAGMA user_version. A reader opens files of this version and earlier ones
// it knows; a newer file is refused rather than half-understood.
inline constexpr qint32 SchemaVersion = 1;

// A save builds the whole new database at "<document path><TemporarySuffix>"
// and renames it over the document; SQLite's rollback journal of that file is
// "<temporary path><JournalSuffix>". Either may be left behind by a crash and
// is removed by the next save.
inline constexpr char TemporarySuffix[] = "-new";
inline constexpr char JournalSuffix[] = "-journal";

// Site properties: one row per key; the value keeps its SQLite type (text,
// integer, real, blob or NULL).
inline constexpr char PropertiesTable[] = "site_properties";
inline constexpr char PropertyKeyColumn[] = "key";
inline constexpr char PropertyValueColumn[] = "value";

// The keys the host stores there.
inline constexpr char SiteTitleKey[] = "siteTitle";
inline constexpr char SiteBaseURLKey[] = "siteBaseURL";
inline constexpr char CommonFileConsolidationModeKey[] = "commonFileConsolidationMode";
inline constexpr char ThemeKey[] = "theme";
// "pageSettings/<unique ID>": bytes, the keyed archive of a map of the
// settings a page keeps beside its plugin's record (see
// QFTextViewPluginClient::pageSettings).
inline constexpr char PageSettingsKeyPrefix[] = "pageSettings/";

// Pages: one row per page, read back in ascending order.
inline constexpr char PagesTable[] = "pages";
inline constexpr char UniqueIDColumn[] = "unique_id";       // text, unique, not empty
inline constexpr char OrderColumn[] = "page_order";         // integer, unique
inline constexpr char FileNameColumn[] = "file_name";       // text
inline constexpr char FolderColumn[] = "folder";            // text or NULL
inline constexpr char TitleColumn[] = "title";              // text or NULL
inline constexpr char PluginNameColumn[] = "plugin_name";   // text, not empty
inline constexpr char ArchiveColumn[] = "archive";          // blob: the plugin's sequential archive
inline constexpr char ArchiveChecksumColumn[] = "archive_sha256"; // blob: SHA-256 of archive

// What a reader trusts, and a writer therefore refuses to write: a text
// (property key, page ID, file name, folder, title, plugin name) of at most
// MaxTextBytes in UTF-8, a property value or page archive of at most
// MaxValueBytes, at most MaxPages pages and MaxProperties properties.
inline constexpr qsizetype MaxTextBytes = qsizetype(1) << 20;
inline constexpr qsizetype MaxValueBytes = qsizetype(512) << 20;
inline constexpr qsizetype MaxPages = 100000;
inline constexpr qsizetype MaxProperties = 10000;
// The largest document file opened (2 GiB), checked before SQLite reads it:
// every record is held in memory once it is open, so the file's size is what
// opening costs. A writer refuses to save a larger one.
inline constexpr qint64 MaxDocumentBytes = qint64(2) << 30;

// The checksum stored beside each plugin record: its SHA-256, 32 bytes.
QByteArray recordChecksum(const QByteArray &record);

} // namespace QFSiteDocumentFormat
