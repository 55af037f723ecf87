#pragma once

#include <QList>
#include <QVariant>
#include <optional>
#include <type_traits>

class QObject;

// The index the blog answers when something is not found: the largest positive
// 32-bit value, as the page templates and the editor expect it.
inline constexpr int kQFNotFound = 2147483647;

// Array operations shared by the model and the editor. All are pure functions
// of their arguments; none keeps state.
namespace QFCollections {

// Applies f to each element in order and collects the results that are not
// empty: f returns a std::optional<R> (or a pointer, where null counts as
// empty), so the result may be shorter than the list.
template<typename T, typename F>
auto map(const QList<T> &list, F f)
{
    using Result = std::invoke_result_t<F, const T &>;
    if constexpr (std::is_pointer_v<Result>) {
        QList<Result> results;
        for (const T &element : list) {
            if (Result r = f(element))
                results.append(r);
        }
        return results;
    } else {
        QList<typename Result::value_type> results;
        for (const T &element : list) {
            if (Result r = f(element))
                results.append(std::move(*r));
        }
        return results;
    }
}

// The elements in order, keeping the first of each group of elements that are
// equal under `equal` (operator== by default). Quadratic: meant for the short
// lists of the model (category IDs, categories, selections).
template<typename T, typename Equal = std::equal_to<T>>
QList<T> arrayWithoutDuplicateElements(const QList<T> &list, Equal equal = Equal())
{
    QList<T> result;
    result.reserve(list.size());
    for (const T &element : list) {
        bool seen = false;
        for (const T &kept : result) {
            if (equal(kept, element)) {
                seen = true;
                break;
            }
        }
        if (!seen)
            result.append(element);
    }
    return result;
}

// The tri-state answer of a check box over several items: 1 when every
// element is true, 0 when every element is false or there are none, -1 as
// soon as both occur.
int stateFromNumberElements(const QList<bool> &elements);
// The same over boolean numbers as they come from key-value coding (a value
// counts as true when QVariant::toBool() says so).
int stateFromNumberElements(const QVariantList &elements);

// A list holding `object` `count` times (none for a count of 0 or less).
template<typename T>
QList<T> arrayFromObjectRepeat(const T &object, qsizetype count)
{
    return count > 0 ? QList<T>(count, object) : QList<T>();
}

// Announces a change of the property `key` of `object` to its observers by
// emitting the property's notify signal; nothing is stored. Does nothing when
// the object has no such property or the property has no notify signal.
void valueChangedForKey(QObject *object, const char *key);

// A hash consistent with QVariant's equality for the values the model keeps in
// sets: numbers (integers, bools and integral doubles hash alike, as they
// compare alike), strings, byte arrays, tags (QFBlogTag, by name) and archived
// objects (by identity). Any other type hashes by its type alone, which is
// correct but slow for large sets.
size_t hashValue(const QVariant &value, size_t seed = 0);

} // namespace QFCollections
