#pragma once
// Ordered dictionary of the host's foundation library, ordered by the key's operator<.
#include <map>

namespace BSX {

/// Ordered dictionary of the host's foundation library, ordered by the key's operator<
template <class K, class V>
class BsxDict {
public:
    /// The container underneath, whose iterators the dictionary hands out
    using Map = std::map<K, V>;

    /// Number of entries, and whether there is none
    ///@{
    int GetCount() const { return static_cast<int>(m_map.size()); }
    bool IsEmpty() const { return m_map.empty(); }
    ///@}

    /// Copies the value of key into value; false when the key is absent
    bool Lookup(const K& key, V& value) const
    {
        auto it = m_map.find(key);
        if (it == m_map.end()) return false;
        value = it->second;
        return true;
    }
    /// Pointer to the stored value, or null
    ///@{
    V* Find(const K& key) { auto it = m_map.find(key); return it == m_map.end() ? nullptr : &it->second; }
    const V* Find(const K& key) const { auto it = m_map.find(key); return it == m_map.end() ? nullptr : &it->second; }
    ///@}
    /// Whether key has an entry
    bool Contains(const K& key) const { return m_map.count(key) != 0; }
    /// Inserts or replaces
    void SetAt(const K& key, const V& value) { m_map[key] = value; }
    /// Removes key; false when absent
    bool RemoveKey(const K& key) { return m_map.erase(key) != 0; }
    /// Removes every entry
    void RemoveAll() { m_map.clear(); }

    /// Iteration in key order
    ///@{
    typename Map::iterator begin() { return m_map.begin(); }
    typename Map::iterator end() { return m_map.end(); }
    typename Map::const_iterator begin() const { return m_map.begin(); }
    typename Map::const_iterator end() const { return m_map.end(); }
    ///@}

private:
    Map m_map;
};

} // namespace BSX
