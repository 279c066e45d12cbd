// Cmn_PolyVector: a contiguous vector of fixed-size elements that reports a bad index instead of running off.
//
// It is a std::vector but for at, front, back and pop_back: they assert "iIndex < size()" where a std::vector
// throws or is undefined, and go on. Iterators and references are as valid as a std::vector's.
//
// Threads:   none inside.
// Ownership: owns its elements, moved on growth.
#pragma once

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Export/Kora_API.h"

#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <type_traits>
#include <utility>
#include <vector>

// What does not depend on the element type: the report.
class KORA_API Cmn_PolyVectorImpl
{
public:
    // True when iIndex < iSize; otherwise asserts "iIndex < size()". A good index costs one comparison.
    static bool CheckIndex(std::size_t iIndex, std::size_t iSize)
    {
        return iIndex < iSize || (ReportIndex(), false);
    }

private:
    static void ReportIndex();
};

template <class T>
class Cmn_PolyVector : public Cmn_PolyVectorImpl
{
    static_assert(!std::is_same_v<T, bool>, "a vector of bits has no elements to refer to");

public:
    using value_type = T;
    using size_type = std::size_t;
    using iterator = typename std::vector<T>::iterator;
    using const_iterator = typename std::vector<T>::const_iterator;
    using reverse_iterator = typename std::vector<T>::reverse_iterator;
    using const_reverse_iterator = typename std::vector<T>::const_reverse_iterator;

    Cmn_PolyVector() = default;
    // These elements.
    Cmn_PolyVector(std::initializer_list<T> iElements)
        : mElements(iElements)
    {
    }
    // Copies of [iFirst, iLast).
    template <std::input_iterator Iter>
    Cmn_PolyVector(Iter iFirst, Iter iLast)
        : mElements(iFirst, iLast)
    {
    }

    iterator begin() { return mElements.begin(); }
    iterator end() { return mElements.end(); }
    const_iterator begin() const { return mElements.begin(); }
    const_iterator end() const { return mElements.end(); }
    reverse_iterator rbegin() { return mElements.rbegin(); }
    reverse_iterator rend() { return mElements.rend(); }
    const_reverse_iterator rbegin() const { return mElements.rbegin(); }
    const_reverse_iterator rend() const { return mElements.rend(); }

    [[nodiscard]] bool empty() const { return mElements.empty(); }
    size_type size() const { return mElements.size(); }
    size_type capacity() const { return mElements.capacity(); }
    void reserve(size_type iCount) { mElements.reserve(iCount); }
    void resize(size_type iCount) { mElements.resize(iCount); }
    void clear() { mElements.clear(); }
    T* data() { return mElements.data(); }
    const T* data() const { return mElements.data(); }

    // Unchecked, as on every vector.
    T& operator[](size_type iIndex) { return mElements[iIndex]; }
    const T& operator[](size_type iIndex) const { return mElements[iIndex]; }

    // Checked: a bad index asserts and gives an element of default value that is not in the vector. It is the
    // thread's own and holds until the next bad index; what is written there is lost.
    T& at(size_type iIndex) { return CheckIndex(iIndex, size()) ? mElements[iIndex] : Scratch(); }
    const T& at(size_type iIndex) const { return CheckIndex(iIndex, size()) ? mElements[iIndex] : Scratch(); }
    T& front() { return at(0); }
    const T& front() const { return at(0); }
    T& back() { return at(size() - 1); }
    const T& back() const { return at(size() - 1); }

    void push_back(T iElement) { mElements.push_back(std::move(iElement)); }
    template <class... Args>
    T& emplace_back(Args&&... iArgs)
    {
        return mElements.emplace_back(std::forward<Args>(iArgs)...);
    }
    // Changes nothing in an empty vector.
    void pop_back()
    {
        if (CheckIndex(0, size())) mElements.pop_back();
    }
    iterator insert(const_iterator iAt, T iElement) { return mElements.insert(iAt, std::move(iElement)); }
    template <std::input_iterator Iter>
    iterator insert(const_iterator iAt, Iter iFirst, Iter iLast)
    {
        return mElements.insert(iAt, iFirst, iLast);
    }
    iterator erase(const_iterator iAt) { return mElements.erase(iAt); }
    iterator erase(const_iterator iFirst, const_iterator iLast) { return mElements.erase(iFirst, iLast); }
    void swap(Cmn_PolyVector& ioOther) noexcept { mElements.swap(ioOther.mElements); }

    bool operator==(const Cmn_PolyVector& iOther) const { return mElements == iOther.mElements; }

private:
    static T& Scratch()
    {
        static thread_local T sScratch;
        sScratch = T();
        return sScratch;
    }

    std::vector<T> mElements;
};
