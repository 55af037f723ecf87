#pragma once

#include <QString>
#include <optional>

// The rule for names a user types or a package carries that become the
// names of files the blog writes at export: a post's permalink name and the
// feed's file name. Such a file sits beside the blog's other generated files
// and is linked by that same name, so a usable name is one file name in that
// folder which a link can carry: no folder separators, none of the
// characters that end or escape a link or that common disks refuse
// (: * ? " < > | # % &), no control characters, not beginning with "." (no
// hidden files, no "." or ".."), no space at either end, and at most
// maxLength() characters (an extension may still be added). Letters of any
// script and inner spaces are fine: links to them are percent-escaped.
//
// Every way a name enters the blog (the command line's settings and post
// options, page packages) checks it here; the export falls back to the
// blog's own name for a stored name that breaks the rule, so the file
// written and every link to it still agree.
namespace QFBlogFileNames {

qsizetype maxLength();

// Whether name may be used; an empty name is not (it means "none").
bool isUsable(const QString &name);

// The rule as a message states it: "may hold only …".
QString rule();

// nullopt for an empty or usable name; otherwise the sentence refusing it,
// naming it as `what` (such as "The permalink name").
std::optional<QString> problem(const QString &name, const QString &what);

} // namespace QFBlogFileNames
