#pragma once
// Lists of infos that cross the SDK's interfaces.

#include "tavix/Info.h"

#include <cstddef>
#include <vector>

namespace Tavix {

/// A sequence with the members that applications use; its rules are those of std::vector. Re-entrant.
template<class T>
class TList {
public:
    using value_type = T;
    using iterator = typename std::vector<T>::iterator;
    using const_iterator = typename std::vector<T>::const_iterator;
    using size_type = std::size_t;

    iterator begin() { return m_Items.begin(); }
    iterator end() { return m_Items.end(); }
    const_iterator begin() const { return m_Items.begin(); }
    const_iterator end() const { return m_Items.end(); }
    size_type size() const { return m_Items.size(); }
    bool empty() const { return m_Items.empty(); }
    void clear() { m_Items.clear(); }
    void push_back(const T& item) { m_Items.push_back(item); }
    void pop_back() { m_Items.pop_back(); }
    iterator erase(iterator at) { return m_Items.erase(at); }
    iterator insert(iterator at, const T& item) { return m_Items.insert(at, item); }
    T& front() { return m_Items.front(); }
    const T& front() const { return m_Items.front(); }
    T& back() { return m_Items.back(); }
    const T& back() const { return m_Items.back(); }
    T& operator[](size_type i) { return m_Items[i]; }
    const T& operator[](size_type i) const { return m_Items[i]; }
    T& at(size_type i) { return m_Items.at(i); }
    const T& at(size_type i) const { return m_Items.at(i); }

private:
    std::vector<T> m_Items;
};

using TlInfoList = TList<CTlInfo>;
using DeviceInfoList = TList<CDeviceInfo>;
using InterfaceInfoList = TList<CInterfaceInfo>;

} // namespace Tavix
