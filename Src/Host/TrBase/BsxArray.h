#pragma once
// Growable array of the host's foundation library. Indexed access checks the index.
#include <stdexcept>
#include <vector>

namespace BSX {

/// Growable array of the host's foundation library; indexed access checks the index
template <class T>
class BsxArray {
public:
    /// An empty array
    BsxArray() = default;

    /// Number of elements (both names), and whether there is none
    ///@{
    int GetSize() const { return static_cast<int>(m_items.size()); }
    int GetCount() const { return GetSize(); }
    bool IsEmpty() const { return m_items.empty(); }
    ///@}

    /// Element access; an index outside [0, GetSize()) throws std::out_of_range
    ///@{
    T& operator[](int index) { return m_items.at(Checked(index)); }
    const T& operator[](int index) const { return m_items.at(Checked(index)); }
    T& GetAt(int index) { return (*this)[index]; }
    const T& GetAt(int index) const { return (*this)[index]; }
    void SetAt(int index, const T& value) { (*this)[index] = value; }
    ///@}

    /// Appends; answers the new element's index
    int Add(const T& value) { m_items.push_back(value); return GetSize() - 1; }
    /// Inserts before index; an index past the end (or negative) appends
    void InsertAt(int index, const T& value)
    {
        if (index < 0 || index >= GetSize()) m_items.push_back(value);
        else m_items.insert(m_items.begin() + index, value);
    }
    /// Removes count elements from index, clipped to the array
    void RemoveAt(int index, int count = 1)
    {
        if (index < 0 || index >= GetSize() || count <= 0) return;
        int end = (count > GetSize() - index) ? GetSize() : index + count;
        m_items.erase(m_items.begin() + index, m_items.begin() + end);
    }
    /// Removes every element
    void RemoveAll() { m_items.clear(); }
    /// Grows with default elements or shrinks to size (a negative size empties)
    void SetSize(int size) { m_items.resize(size < 0 ? 0 : static_cast<size_t>(size)); }
    /// Makes room for size elements without changing the count
    void Reserve(int size) { if (size > 0) m_items.reserve(static_cast<size_t>(size)); }

    /// The elements as a contiguous block, and iteration over them
    ///@{
    T* GetData() { return m_items.data(); }
    const T* GetData() const { return m_items.data(); }
    typename std::vector<T>::iterator begin() { return m_items.begin(); }
    typename std::vector<T>::iterator end() { return m_items.end(); }
    typename std::vector<T>::const_iterator begin() const { return m_items.begin(); }
    typename std::vector<T>::const_iterator end() const { return m_items.end(); }
    ///@}

    /// Element-wise comparison
    ///@{
    friend bool operator==(const BsxArray& a, const BsxArray& b) { return a.m_items == b.m_items; }
    friend bool operator!=(const BsxArray& a, const BsxArray& b) { return a.m_items != b.m_items; }
    ///@}

private:
    static size_t Checked(int index)
    {
        if (index < 0) throw std::out_of_range("BsxArray index out of range");
        return static_cast<size_t>(index);
    }
    std::vector<T> m_items;
};

} // namespace BSX
