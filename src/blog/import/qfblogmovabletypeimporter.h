#pragma once

#include "blog/model/qfblogentry.h"

#include <QByteArrayView>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <memory>

class QFBlogPlugin;
class QFMovableTypeScanner;
class QFUserDefaults;

// Reads a blog exported as Movable Type export text (docs/ARCHITECTURE.md,
// "Movable Type import") into new posts of a blog, and collects the
// Movable Type category names they carry so that each can be mapped to one
// of the blog's categories.
//
// The reader never changes the blog by itself: its posts point at the blog
// (so categories can be mapped) but are not in its list until
// importToBlogEntryController() adds them. Dropping the reader drops them.
//
// Bad input: an entry the scanner cannot follow is logged ("Couldn't scan:
// <name> (<reason>)" and "Rest of string (<title>): <rest>") and kept as far
// as it was built, or skipped when it failed before its post was made. Only
// QFException is caught that way; anything else reaches the caller.
//
// Main thread only.
class QFBlogMovableTypeImporter final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool importing READ importing WRITE setImporting NOTIFY importingChanged)
    Q_PROPERTY(QStringList movableTypeCategories READ movableTypeCategories NOTIFY movableTypeCategoriesChanged)

public:
    ~QFBlogMovableTypeImporter() override;
    Q_DISABLE_COPY_MOVE(QFBlogMovableTypeImporter)

    // "BlogMovableTypeImportMarkdownAsMultiMarkdown": when true, Markdown
    // entries would be marked MultiMarkdown. Registered (false) in the blog's
    // user defaults when the first reader is made.
    static QString markdownAsMultiMarkdownKey();
    static void registerDefaults(QFUserDefaults &defaults);

    // A reader of the file at path, decoded as UTF-8 (a byte order mark is
    // kept as the character U+FEFF, which the first entry then does not
    // survive). A file that cannot be read or is not valid UTF-8 counts as
    // empty; one larger than QFMovableTypeExportText::MaxFileSize raises
    // QFException("File Too Large"). Null when the text yields no entry.
    static std::unique_ptr<QFBlogMovableTypeImporter> initWithExportedTextURL(const QString &path,
                                                                             QFBlogPlugin *blogPlugin);
    // A reader of the whole export text; null when it yields no entry.
    // blogPlugin may be null (posts without a blog; no category can be
    // mapped then).
    static std::unique_ptr<QFBlogMovableTypeImporter> initWithExportedTextString(const QString &text,
                                                                                QFBlogPlugin *blogPlugin);
    // The same from the file's bytes, decoded one entry at a time (as
    // Windows-1252 when windows1252 is set, else as UTF-8, where an entry that
    // is not valid UTF-8 reads as empty), so that a large file is never held
    // as a whole second time. Line ends must already be "\n"
    // (QFMovableTypeExportText::convertInPlace).
    static std::unique_ptr<QFBlogMovableTypeImporter> initWithExportedBytes(QByteArrayView bytes, bool windows1252,
                                                                           QFBlogPlugin *blogPlugin);

    // The distinct category names of the posts, in the order first met
    // (posts in file order, each post's names in order); names that are empty
    // or one blank character are left out. Empty before parsing.
    const QStringList &movableTypeCategories() const { return m_movableTypeCategories; }
    // The posts read, in file order.
    const QList<QFBlogEntryPtr> &entries() const { return m_importedBlogEntries; }
    QFBlogPlugin *blogPlugin() const { return m_blogPlugin; }
    // True only while one entry is being parsed.
    bool importing() const { return m_importing; }
    void setImporting(bool importing);
    // How many entries were logged as failing to scan (kept in part or
    // skipped); pieces of nothing but blanks and line breaks do not count.
    int scanFailureCount() const { return m_scanFailureCount; }

    // Splits the text into entries and parses each; false when none gave a
    // post. On success movableTypeCategories is replaced (announced).
    bool prepareImportWithExportedTextString(const QString &text);
    bool prepareImportWithExportedBytes(QByteArrayView bytes, bool windows1252);
    // Keeps the posts read; false when there are none.
    bool finishPreparing(const QList<QFBlogEntryPtr> &entries);
    // One entry's text as a new post, or null when the entry failed before
    // its post was made (see the class comment).
    QFBlogEntryPtr parseEntry(const QString &entryText);
    // Consecutive "CATEGORY: " lines at the scanner's position, then one
    // optional line feed.
    QStringList scanCategories(QFMovableTypeScanner &scanner);
    static QStringList movableTypeCategoriesForBlogEntries(const QList<QFBlogEntryPtr> &entries);

    // Files every post under blog categories: for each of its Movable Type
    // category names in order, the category at the mapped position of the
    // blog's category list is appended. Names without a mapping add nothing.
    // Positions are checked first: a position that is not a whole number in
    // the list raises QFException("Invalid Category Mapping") naming the
    // category, and no post is changed.
    void applyCategoryMapping(const QVariantMap &mapping);

    // Adds every post to the blog, in file order, through its entry list as
    // one edit: fresh IDs and GUIDs, one undo step, the change announced
    // once. Answers the posts added; empty without a blog or on a second
    // call (the posts are the blog's by then).
    QList<QFBlogEntryPtr> importToBlogEntryController();

signals:
    void importingChanged(bool importing);
    void movableTypeCategoriesAboutToChange();
    void movableTypeCategoriesChanged();

private:
    explicit QFBlogMovableTypeImporter(QFBlogPlugin *blogPlugin);

    QStringList m_movableTypeCategories;
    QList<QFBlogEntryPtr> m_importedBlogEntries;
    QFBlogPlugin *m_blogPlugin = nullptr;
    bool m_importing = false;
    bool m_imported = false;
    int m_scanFailureCount = 0;
};
