#pragma once

#include "qfkit/coding/qfarchiver.h"
#include "qfkit/coding/qfkeyedarchiver.h"
#include "qfkit/coding/qfkeyedunarchiver.h"
#include "qfkit/coding/qfunarchiver.h"

// `object` written and read back by the keyed archiver (clipboard, page
// package) or by the sequential one (the blog's record); null when what comes
// back is not a T.
template<class T>
std::shared_ptr<T> archivedCopy(const QFCoding &object, bool keyed)
{
    if (keyed)
        return QFCodingSupport::objectOfClass<T>(
            QFKeyedUnarchiver::unarchiveObjectWithData(QFKeyedArchiver::archivedDataWithRootObject(object)));
    QFArchiver archiver;
    archiver.encodeObject(object);
    QFUnarchiver unarchiver(archiver.data());
    return QFCodingSupport::objectOfClass<T>(unarchiver.decodeObject());
}
