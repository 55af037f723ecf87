#include "qfstrings.h"

#include <QCryptographicHash>
#include <QTextBoundaryFinder>
#include <QUrl>
#include <algorithm>
#include <iterator>

namespace {

constexpr char32_t kReplacementCharacter = 0xFFFD;
constexpr char32_t kLoneSurrogate = 0xFFFFFFFF;

// Calls f(codePoint) for each code point of s; a lone surrogate is passed as
// kLoneSurrogate so callers can decide what to make of it.
template<typename F>
void forEachCodePoint(const QString &s, F f)
{
    const qsizetype n = s.size();
    for (qsizetype i = 0; i < n; ++i) {
        const char16_t c = s.at(i).unicode();
        if (QChar::isHighSurrogate(c) && i + 1 < n && QChar::isLowSurrogate(s.at(i + 1).unicode())) {
            f(QChar::surrogateToUcs4(c, s.at(i + 1).unicode()));
            ++i;
        } else if (QChar::isSurrogate(c)) {
            f(kLoneSurrogate);
        } else {
            f(char32_t(c));
        }
    }
}

void appendReference(QString &out, char32_t c)
{
    out += QLatin1StringView("&#");
    out += QString::number(c == kLoneSurrogate ? kReplacementCharacter : c);
    out += u';';
}

void appendReference(QByteArray &out, char32_t c)
{
    out += "&#";
    out += QByteArray::number(c == kLoneSurrogate ? kReplacementCharacter : c);
    out += ';';
}

bool isAsciiDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

struct NamedEntity
{
    char32_t codePoint;
    const char *name;
};

// The character entities of HTML 4 above ASCII, sorted by code point.
constexpr NamedEntity kEntities[] = {
    {0x00A0, "nbsp"}, {0x00A1, "iexcl"}, {0x00A2, "cent"}, {0x00A3, "pound"}, {0x00A4, "curren"},
    {0x00A5, "yen"}, {0x00A6, "brvbar"}, {0x00A7, "sect"}, {0x00A8, "uml"}, {0x00A9, "copy"},
    {0x00AA, "ordf"}, {0x00AB, "laquo"}, {0x00AC, "not"}, {0x00AD, "shy"}, {0x00AE, "reg"},
    {0x00AF, "macr"}, {0x00B0, "deg"}, {0x00B1, "plusmn"}, {0x00B2, "sup2"}, {0x00B3, "sup3"},
    {0x00B4, "acute"}, {0x00B5, "micro"}, {0x00B6, "para"}, {0x00B7, "middot"}, {0x00B8, "cedil"},
    {0x00B9, "sup1"}, {0x00BA, "ordm"}, {0x00BB, "raquo"}, {0x00BC, "frac14"}, {0x00BD, "frac12"},
    {0x00BE, "frac34"}, {0x00BF, "iquest"}, {0x00C0, "Agrave"}, {0x00C1, "Aacute"}, {0x00C2, "Acirc"},
    {0x00C3, "Atilde"}, {0x00C4, "Auml"}, {0x00C5, "Aring"}, {0x00C6, "AElig"}, {0x00C7, "Ccedil"},
    {0x00C8, "Egrave"}, {0x00C9, "Eacute"}, {0x00CA, "Ecirc"}, {0x00CB, "Euml"}, {0x00CC, "Igrave"},
    {0x00CD, "Iacute"}, {0x00CE, "Icirc"}, {0x00CF, "Iuml"}, {0x00D0, "ETH"}, {0x00D1, "Ntilde"},
    {0x00D2, "Ograve"}, {0x00D3, "Oacute"}, {0x00D4, "Ocirc"}, {0x00D5, "Otilde"}, {0x00D6, "Ouml"},
    {0x00D7, "times"}, {0x00D8, "Oslash"}, {0x00D9, "Ugrave"}, {0x00DA, "Uacute"}, {0x00DB, "Ucirc"},
    {0x00DC, "Uuml"}, {0x00DD, "Yacute"}, {0x00DE, "THORN"}, {0x00DF, "szlig"}, {0x00E0, "agrave"},
    {0x00E1, "aacute"}, {0x00E2, "acirc"}, {0x00E3, "atilde"}, {0x00E4, "auml"}, {0x00E5, "aring"},
    {0x00E6, "aelig"}, {0x00E7, "ccedil"}, {0x00E8, "egrave"}, {0x00E9, "eacute"}, {0x00EA, "ecirc"},
    {0x00EB, "euml"}, {0x00EC, "igrave"}, {0x00ED, "iacute"}, {0x00EE, "icirc"}, {0x00EF, "iuml"},
    {0x00F0, "eth"}, {0x00F1, "ntilde"}, {0x00F2, "ograve"}, {0x00F3, "oacute"}, {0x00F4, "ocirc"},
    {0x00F5, "otilde"}, {0x00F6, "ouml"}, {0x00F7, "divide"}, {0x00F8, "oslash"}, {0x00F9, "ugrave"},
    {0x00FA, "uacute"}, {0x00FB, "ucirc"}, {0x00FC, "uuml"}, {0x00FD, "yacute"}, {0x00FE, "thorn"},
    {0x00FF, "yuml"}, {0x0152, "OElig"}, {0x0153, "oelig"}, {0x0160, "Scaron"}, {0x0161, "scaron"},
    {0x0178, "Yuml"}, {0x0192, "fnof"}, {0x02C6, "circ"}, {0x02DC, "tilde"}, {0x0391, "Alpha"},
    {0x0392, "Beta"}, {0x0393, "Gamma"}, {0x0394, "Delta"}, {0x0395, "Epsilon"}, {0x0396, "Zeta"},
    {0x0397, "Eta"}, {0x0398, "Theta"}, {0x0399, "Iota"}, {0x039A, "Kappa"}, {0x039B, "Lambda"},
    {0x039C, "Mu"}, {0x039D, "Nu"}, {0x039E, "Xi"}, {0x039F, "Omicron"}, {0x03A0, "Pi"},
    {0x03A1, "Rho"}, {0x03A3, "Sigma"}, {0x03A4, "Tau"}, {0x03A5, "Upsilon"}, {0x03A6, "Phi"},
    {0x03A7, "Chi"}, {0x03A8, "Psi"}, {0x03A9, "Omega"}, {0x03B1, "alpha"}, {0x03B2, "beta"},
    {0x03B3, "gamma"}, {0x03B4, "delta"}, {0x03B5, "epsilon"}, {0x03B6, "zeta"}, {0x03B7, "eta"},
    {0x03B8, "theta"}, {0x03B9, "iota"}, {0x03BA, "kappa"}, {0x03BB, "lambda"}, {0x03BC, "mu"},
    {0x03BD, "nu"}, {0x03BE, "xi"}, {0x03BF, "omicron"}, {0x03C0, "pi"}, {0x03C1, "rho"},
    {0x03C2, "sigmaf"}, {0x03C3, "sigma"}, {0x03C4, "tau"}, {0x03C5, "upsilon"}, {0x03C6, "phi"},
    {0x03C7, "chi"}, {0x03C8, "psi"}, {0x03C9, "omega"}, {0x03D1, "thetasym"}, {0x03D2, "upsih"},
    {0x03D6, "piv"}, {0x2002, "ensp"}, {0x2003, "emsp"}, {0x2009, "thinsp"}, {0x200C, "zwnj"},
    {0x200D, "zwj"}, {0x200E, "lrm"}, {0x200F, "rlm"}, {0x2013, "ndash"}, {0x2014, "mdash"},
    {0x2018, "lsquo"}, {0x2019, "rsquo"}, {0x201A, "sbquo"}, {0x201C, "ldquo"}, {0x201D, "rdquo"},
    {0x201E, "bdquo"}, {0x2020, "dagger"}, {0x2021, "Dagger"}, {0x2022, "bull"}, {0x2026, "hellip"},
    {0x2030, "permil"}, {0x2032, "prime"}, {0x2033, "Prime"}, {0x2039, "lsaquo"}, {0x203A, "rsaquo"},
    {0x203E, "oline"}, {0x2044, "frasl"}, {0x20AC, "euro"}, {0x2111, "image"}, {0x2118, "weierp"},
    {0x211C, "real"}, {0x2122, "trade"}, {0x2135, "alefsym"}, {0x2190, "larr"}, {0x2191, "uarr"},
    {0x2192, "rarr"}, {0x2193, "darr"}, {0x2194, "harr"}, {0x21B5, "crarr"}, {0x21D0, "lArr"},
    {0x21D1, "uArr"}, {0x21D2, "rArr"}, {0x21D3, "dArr"}, {0x21D4, "hArr"}, {0x2200, "forall"},
    {0x2202, "part"}, {0x2203, "exist"}, {0x2205, "empty"}, {0x2207, "nabla"}, {0x2208, "isin"},
    {0x2209, "notin"}, {0x220B, "ni"}, {0x220F, "prod"}, {0x2211, "sum"}, {0x2212, "minus"},
    {0x2217, "lowast"}, {0x221A, "radic"}, {0x221D, "prop"}, {0x221E, "infin"}, {0x2220, "ang"},
    {0x2227, "and"}, {0x2228, "or"}, {0x2229, "cap"}, {0x222A, "cup"}, {0x222B, "int"},
    {0x2234, "there4"}, {0x223C, "sim"}, {0x2245, "cong"}, {0x2248, "asymp"}, {0x2260, "ne"},
    {0x2261, "equiv"}, {0x2264, "le"}, {0x2265, "ge"}, {0x2282, "sub"}, {0x2283, "sup"},
    {0x2284, "nsub"}, {0x2286, "sube"}, {0x2287, "supe"}, {0x2295, "oplus"}, {0x2297, "otimes"},
    {0x22A5, "perp"}, {0x22C5, "sdot"}, {0x2308, "lceil"}, {0x2309, "rceil"}, {0x230A, "lfloor"},
    {0x230B, "rfloor"}, {0x2329, "lang"}, {0x232A, "rang"}, {0x25CA, "loz"}, {0x2660, "spades"},
    {0x2663, "clubs"}, {0x2665, "hearts"}, {0x2666, "diams"},
};

const char *entityName(char32_t c)
{
    auto it = std::lower_bound(std::begin(kEntities), std::end(kEntities), c,
                               [](const NamedEntity &e, char32_t v) { return e.codePoint < v; });
    return it != std::end(kEntities) && it->codePoint == c ? it->name : nullptr;
}

// Letters that compatibility decomposition leaves alone but that have an
// obvious ASCII spelling in a file name.
const char *asciiSpelling(char32_t c)
{
    switch (c) {
    case 0x00DF: return "ss";
    case 0x00C6: case 0x00E6: return "ae";
    case 0x0152: case 0x0153: return "oe";
    case 0x00D8: case 0x00F8: return "o";
    case 0x0141: case 0x0142: return "l";
    case 0x0110: case 0x0111: case 0x00D0: case 0x00F0: return "d";
    case 0x00DE: case 0x00FE: return "th";
    case 0x0131: return "i";
    case 0x0126: case 0x0127: return "h";
    default: return nullptr;
    }
}

// windows-1252 bytes 0x80-0x9F, by the character they stand for.
struct Cp1252Entry
{
    char32_t codePoint;
    char byte;
};

constexpr Cp1252Entry kCp1252[] = {
    {0x0152, '\x8C'}, {0x0153, '\x9C'}, {0x0160, '\x8A'}, {0x0161, '\x9A'}, {0x0178, '\x9F'},
    {0x017D, '\x8E'}, {0x017E, '\x9E'}, {0x0192, '\x83'}, {0x02C6, '\x88'}, {0x02DC, '\x98'},
    {0x2013, '\x96'}, {0x2014, '\x97'}, {0x2018, '\x91'}, {0x2019, '\x92'}, {0x201A, '\x82'},
    {0x201C, '\x93'}, {0x201D, '\x94'}, {0x201E, '\x84'}, {0x2020, '\x86'}, {0x2021, '\x87'},
    {0x2022, '\x95'}, {0x2026, '\x85'}, {0x2030, '\x89'}, {0x2039, '\x8B'}, {0x203A, '\x9B'},
    {0x20AC, '\x80'}, {0x2122, '\x99'},
};

int cp1252Byte(char32_t c)
{
    if (c < 0x80 || (c >= 0xA0 && c <= 0xFF))
        return int(c);
    auto it = std::lower_bound(std::begin(kCp1252), std::end(kCp1252), c,
                               [](const Cp1252Entry &e, char32_t v) { return e.codePoint < v; });
    return it != std::end(kCp1252) && it->codePoint == c ? static_cast<unsigned char>(it->byte) : -1;
}

} // namespace

namespace QFStrings {

QString stringEscapedForLowercaseFilename(const QString &s)
{
    QString out;
    out.reserve(s.size());
    bool inRun = false;
    auto keep = [&](char c) {
        out += QLatin1Char(c);
        inRun = false;
    };
    forEachCodePoint(s.normalized(QString::NormalizationForm_KD), [&](char32_t c) {
        if (c != kLoneSurrogate && QChar::category(c) == QChar::Mark_NonSpacing)
            return;
        if ((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '_') {
            keep(char(c));
        } else if (c >= 'A' && c <= 'Z') {
            keep(char(c - 'A' + 'a'));
        } else if (const char *spelling = asciiSpelling(c)) {
            for (const char *p = spelling; *p; ++p)
                keep(*p);
        } else if (!inRun) {
            out += u'-';
            inRun = true;
        }
    });
    if (out.isEmpty())
        return QStringLiteral("untitled");
    return out;
}

namespace {
// Element text needs & < > escaped; attribute values also both quotes.
QString escapedForHTML(const QString &s, bool quotes)
{
    QString out;
    out.reserve(s.size() + s.size() / 8);
    for (QChar c : s) {
        switch (c.unicode()) {
        case u'&': out += QLatin1StringView("&amp;"); break;
        case u'<': out += QLatin1StringView("&lt;"); break;
        case u'>': out += QLatin1StringView("&gt;"); break;
        case u'"':
            if (quotes) out += QLatin1StringView("&quot;"); else out += c;
            break;
        case u'\'':
            if (quotes) out += QLatin1StringView("&#39;"); else out += c;
            break;
        default: out += c;
        }
    }
    return out;
}
} // namespace

QString stringEscapedForHTMLElementText(const QString &s)
{
    return escapedForHTML(s, false);
}

QString stringEscapedForHTMLAttribute(const QString &s)
{
    return escapedForHTML(s, true);
}

QString convertToEntities(const QString &s)
{
    QString out;
    out.reserve(s.size() + s.size() / 8);
    forEachCodePoint(s, [&](char32_t c) {
        switch (c) {
        case '&': out += QLatin1StringView("&amp;"); return;
        case '<': out += QLatin1StringView("&lt;"); return;
        case '>': out += QLatin1StringView("&gt;"); return;
        case '"': out += QLatin1StringView("&quot;"); return;
        default: break;
        }
        if (c < 0x80) {
            out += QChar(char16_t(c));
        } else if (const char *name = c == kLoneSurrogate ? nullptr : entityName(c)) {
            out += u'&';
            out += QLatin1StringView(name);
            out += u';';
        } else {
            appendReference(out, c);
        }
    });
    return out;
}

QString convertToNumericalReferences(const QString &s)
{
    QString out;
    out.reserve(s.size() + s.size() / 8);
    forEachCodePoint(s, [&](char32_t c) {
        if (c == kLoneSurrogate || c == 0xFFFE || c == 0xFFFF || (c >= 0x7F && c <= 0x9F))
            return;
        if (c < 0x20 && c != '\t' && c != '\n' && c != '\r')
            return;
        if (c >= 0x80 || c == '&' || c == '<' || c == '>' || c == '"')
            appendReference(out, c);
        else
            out += QChar(char16_t(c));
    });
    return out;
}

QString summarizeToSentences(const QString &s, int &count)
{
    if (count <= 0 || s.isEmpty()) {
        count = 0;
        return QString();
    }
    QTextBoundaryFinder finder(QTextBoundaryFinder::Sentence, s);
    int taken = 0;
    qsizetype end = 0;
    qsizetype previous = 0;
    for (qsizetype position = finder.toNextBoundary(); position > 0 && taken < count;
         position = finder.toNextBoundary()) {
        if (!QStringView(s).mid(previous, position - previous).trimmed().isEmpty()) {
            ++taken;
            end = position;
        }
        previous = position;
    }
    while (end > 0 && s.at(end - 1).isSpace())
        --end;
    count = taken;
    return s.left(end);
}

QByteArray md5Checksum(const QString &s)
{
    return QCryptographicHash::hash(s.toUtf8(), QCryptographicHash::Md5);
}

QString md5HexChecksum(const QString &s)
{
    return QString::fromLatin1(md5Checksum(s).toHex());
}

QString appendForwardSlash(const QString &s)
{
    return s.endsWith(u'/') ? s : s + u'/';
}

bool isAbsoluteWebAddress(const QString &s)
{
    const QUrl url(s, QUrl::StrictMode);
    const QString scheme = url.scheme();
    return url.isValid() && (scheme == QLatin1StringView("http") || scheme == QLatin1StringView("https"))
        && !url.host().isEmpty() && s.trimmed() == s;
}

bool boolValue(const QString &s)
{
    return s == QLatin1StringView("1") || s.compare(QLatin1StringView("yes"), Qt::CaseInsensitive) == 0
        || s.compare(QLatin1StringView("true"), Qt::CaseInsensitive) == 0;
}

int compareIgnoringCaseNumeric(const QString &a, const QString &b)
{
    const qsizetype na = a.size();
    const qsizetype nb = b.size();
    qsizetype i = 0;
    qsizetype j = 0;
    int zeroTie = 0;
    while (i < na && j < nb) {
        if (isAsciiDigit(a.at(i)) && isAsciiDigit(b.at(j))) {
            const qsizetype startA = i;
            const qsizetype startB = j;
            while (i < na && isAsciiDigit(a.at(i)))
                ++i;
            while (j < nb && isAsciiDigit(b.at(j)))
                ++j;
            // Skip leading zeros but keep the last digit, so "0" stays a number.
            qsizetype za = startA;
            qsizetype zb = startB;
            while (za < i - 1 && a.at(za) == u'0')
                ++za;
            while (zb < j - 1 && b.at(zb) == u'0')
                ++zb;
            if (i - za != j - zb)
                return i - za < j - zb ? -1 : 1;
            for (qsizetype k = 0; k < i - za; ++k) {
                if (a.at(za + k) != b.at(zb + k))
                    return a.at(za + k) < b.at(zb + k) ? -1 : 1;
            }
            if (zeroTie == 0 && za - startA != zb - startB)
                zeroTie = za - startA < zb - startB ? -1 : 1;
            continue;
        }
        const char16_t fa = QChar::toCaseFolded(a.at(i).unicode());
        const char16_t fb = QChar::toCaseFolded(b.at(j).unicode());
        if (fa != fb)
            return fa < fb ? -1 : 1;
        ++i;
        ++j;
    }
    if (i < na)
        return 1;
    if (j < nb)
        return -1;
    if (zeroTie != 0)
        return zeroTie;
    const int exact = QString::compare(a, b, Qt::CaseSensitive);
    return exact < 0 ? -1 : (exact > 0 ? 1 : 0);
}

QByteArray dataUsingHTMLEscapes(const QString &s, const QString &encodingName)
{
    const QString name = encodingName.trimmed().toLower();
    int (*byteFor)(char32_t) = nullptr;
    if (name == u"iso-8859-1" || name == u"iso8859-1" || name == u"iso_8859-1" || name == u"latin1"
        || name == u"latin-1") {
        byteFor = [](char32_t c) { return c <= 0xFF ? int(c) : -1; };
    } else if (name == u"us-ascii" || name == u"ascii") {
        byteFor = [](char32_t c) { return c <= 0x7F ? int(c) : -1; };
    } else if (name == u"windows-1252" || name == u"cp1252") {
        byteFor = &cp1252Byte;
    } else {
        return s.toUtf8();
    }
    QByteArray out;
    out.reserve(s.size());
    forEachCodePoint(s, [&](char32_t c) {
        const int byte = c == kLoneSurrogate ? -1 : byteFor(c);
        if (byte >= 0)
            out += char(byte);
        else
            appendReference(out, c);
    });
    return out;
}

} // namespace QFStrings
