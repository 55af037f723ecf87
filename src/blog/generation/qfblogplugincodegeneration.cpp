#include "blog/generation/qfblogplugincodegeneration.h"

#include "blog/plugin/qfblogplugin.h"

QFBlogPluginCodeGeneration::QFBlogPluginCodeGeneration(QFBlogPlugin &plugin)
    : m_plugin(plugin)
{
}

QFBlogPluginCodeGeneration::~QFBlogPluginCodeGeneration() = default;

void QFBlogPluginCodeGeneration::beginExport() {}
void QFBlogPluginCodeGeneration::endExport() {}

QString QFBlogPluginCodeGeneration::emitBlogEntryHTML(const QFBlogEntryPtr &entry, const QString &, int, bool, int,
                                                      const QVariantMap &)
{
    // Placeholder until the fragment is built.
    if (!entry || entry->isDraft())
        return QString(QLatin1String(""));
    return QStringLiteral("<div class=\"blog-entry\">%1</div>").arg(entry->ID());
}

QString QFBlogPluginCodeGeneration::emitTagsTextForBlogEntry(const QFBlogEntryPtr &, const QVariantMap &, int) const { return {}; }
QString &QFBlogPluginCodeGeneration::substituteSmileys(QString &html, const QString &, int) const { return html; }
QString QFBlogPluginCodeGeneration::smileyLink(const QString &, const QString &, const QString &, int) const { return {}; }
QString QFBlogPluginCodeGeneration::localisedDescription(const QDateTime &, const QString &) const { return {}; }
QString QFBlogPluginCodeGeneration::pageContentHeaders(const QVariantMap &) const { return {}; }
QString QFBlogPluginCodeGeneration::contentHeaders(const QVariantMap &) const { return {}; }
bool QFBlogPluginCodeGeneration::useHaloScanComments() const { return false; }
bool QFBlogPluginCodeGeneration::useJSKitComments() const { return false; }
bool QFBlogPluginCodeGeneration::useDisqusComments() const { return false; }
QString QFBlogPluginCodeGeneration::haloScanUsername() const { return {}; }
QString QFBlogPluginCodeGeneration::disqusSiteName() const { return {}; }
QString QFBlogPluginCodeGeneration::haloScanLoadCommand() const { return {}; }
void QFBlogPluginCodeGeneration::appendHaloScanLoadCommand(QString &) const {}
QString QFBlogPluginCodeGeneration::jskitLoadCommand() const { return {}; }
void QFBlogPluginCodeGeneration::appendJSKitLoadCommand(QString &) const {}
QString QFBlogPluginCodeGeneration::disqusEmbedCodeForPost(const QFBlogEntryPtr &) const { return {}; }
QString QFBlogPluginCodeGeneration::disqusModifiedPermalinkForLink(const QString &) const { return {}; }
QString QFBlogPluginCodeGeneration::disqusCommentCountingJavascript() const { return {}; }
