#pragma once

#include <QByteArray>
#include <QString>

// A structural check of a binary property list before libplist parses it.
// libplist 2.2 follows object references recursively without a depth bound
// (deep nesting overflows the stack) and copies a shared object once per
// reference (a few hundred bytes can expand to billions of values). This
// walks the object graph from the root without recursion and verifies the
// trailer, the offset table, every object's extent and every reference.
namespace QFPlistBinaryCheck {

// Empty when `data` is safe to hand to libplist: the trailer and offset table
// are in range, every reachable object lies inside the object area, dict keys
// are strings, there is no cycle, nesting is at most `maxDepth` and the tree
// libplist would build has at most `maxValues` values. Otherwise a reason.
QString problem(const QByteArray &data, int maxDepth, qint64 maxValues);

} // namespace QFPlistBinaryCheck
