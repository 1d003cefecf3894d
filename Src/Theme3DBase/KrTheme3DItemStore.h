#pragma once
// Owning storage of theme items: the unique and label themes keep theirs by key, the range theme
// by position. The store owns every item it points to: it copies what it is given, deletes what
// it lets go, and a copy that throws part-way leaves nothing behind.
#include <memory>

#include "BsxArray.h"
#include "BsxDict.h"
#include "KrTheme3DItem.h"

namespace KRN {
namespace ItemStore {

template <class Key>
using ByKey = BSX::BsxDict<Key, KrTheme3DItem*>;
using ByPosition = BSX::BsxArray<KrTheme3DItem*>;

template <class Key>
KrTheme3DItem* Find(const ByKey<Key>& items, const Key& key)
{
    KrTheme3DItem* const* found = items.Find(key);
    return found ? *found : nullptr;
}

// Deletes every item and empties the store
template <class Key>
void Release(ByKey<Key>& items)
{
    for (auto& entry : items) delete entry.second;
    items.RemoveAll();
}
inline void Release(ByPosition& items)
{
    for (KrTheme3DItem* item : items) delete item;
    items.RemoveAll();
}

// Stores a copy of item under a key the store does not hold yet; nothing is kept when copying
// or storing throws
template <class Key>
void Add(ByKey<Key>& items, const Key& key, const KrTheme3DItem& item)
{
    auto copy = std::make_unique<KrTheme3DItem>(item);
    items.SetAt(key, copy.get());
    copy.release();
}
// Inserts a copy of item before position index (InsertAt's rule)
inline void Insert(ByPosition& items, int index, const KrTheme3DItem& item)
{
    auto copy = std::make_unique<KrTheme3DItem>(item);
    items.InsertAt(index, copy.get());
    copy.release();
}

// Replaces the items of target by copies of the items of source, in source's order (null
// entries of source are skipped). When a copy throws, target is left empty.
template <class Key>
void CopyAll(const ByKey<Key>& source, ByKey<Key>& target)
{
    Release(target);
    try {
        for (const auto& entry : source) Add(target, entry.first, *entry.second);
    } catch (...) {
        Release(target);
        throw;
    }
}
inline void CopyAll(const ByPosition& source, ByPosition& target)
{
    Release(target);
    try {
        target.Reserve(source.GetSize());
        for (const KrTheme3DItem* item : source)
            if (item) Insert(target, target.GetSize(), *item);
    } catch (...) {
        Release(target);
        throw;
    }
}

} // namespace ItemStore
} // namespace KRN
