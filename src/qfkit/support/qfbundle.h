#pragma once

#include <QString>
#include <QVariant>
#include <memory>

// A bundle folder such as ".../Blog.qfplugin": its files live in Resources/,
// English ones also in Resources/en.lproj/, and its string table (key → text)
// in Resources/en.lproj/Localizable.plist.
//
// A cheap, copyable handle: copies share one string table, loaded once on
// first use and safe to read from any thread. It is passed to whoever needs
// resources (the plugin, the exporter, tests point it at a temporary folder);
// there is no process-wide bundle. A default-constructed bundle has no folder:
// every lookup finds nothing and localizedString() returns the key.
class QFBundle
{
public:
    QFBundle();
    explicit QFBundle(const QString &bundlePath);

    bool isNull() const;
    // The folder as given, cleaned; "<bundle>/Resources".
    QString bundlePath() const;
    QString resourcePath() const;

    // The path of "<name>.<type>" (just "<name>" when type is empty) in
    // Resources/, else in Resources/en.lproj/; an empty QString when neither
    // exists or when the name would lead outside Resources/.
    QString pathForResource(const QString &name, const QString &type) const;

    // The property list "<name>.plist". A null QVariant when it is missing or
    // malformed; that is logged (qfLog) and never thrown.
    QVariant propertyListResource(const QString &name) const;

    // The UTF-8 text file "<name>.<type>"; a null QString when it is missing
    // or unreadable.
    QString stringResource(const QString &name, const QString &type) const;

    // The text for key in the string table; the key itself when the table or
    // the key is missing, or the entry is not a string.
    QString localizedString(const QString &key) const;

private:
    struct Private;
    std::shared_ptr<Private> d;
};
