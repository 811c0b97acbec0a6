#pragma once

#include <QtGlobal>

#include <cstdlib>
#include <cstring>
#include <new>
#include <type_traits>

#if defined(__linux__)
#include <sys/mman.h>
#endif

// Contiguous, zero-initialised storage for per-pixel data. Large buffers are aligned to
// 2 MiB and advised to use transparent huge pages: first-touch page faults otherwise
// cost several times the work done on a large image.
template <typename T> class PixelBuffer
{
    static_assert(std::is_trivially_copyable_v<T>);

public:
    PixelBuffer() = default;
    explicit PixelBuffer(qsizetype n) { resize(n); }
    PixelBuffer(const PixelBuffer &other) : PixelBuffer(other.m_size)
    {
        if (m_size > 0) std::memcpy(m_data, other.m_data, sizeof(T) * size_t(m_size));
    }
    PixelBuffer &operator=(const PixelBuffer &other)
    {
        if (this != &other) {
            PixelBuffer copy(other);
            swap(copy);
        }
        return *this;
    }
    PixelBuffer(PixelBuffer &&other) noexcept { swap(other); }
    PixelBuffer &operator=(PixelBuffer &&other) noexcept
    {
        swap(other);
        return *this;
    }
    ~PixelBuffer() { std::free(m_data); }

    void swap(PixelBuffer &other) noexcept
    {
        std::swap(m_data, other.m_data);
        std::swap(m_size, other.m_size);
    }

    // Keeps the common prefix; new elements are zero.
    void resize(qsizetype n)
    {
        if (n < 0) n = 0;
        if (n == m_size) return;
        T *fresh = allocate(n, true);
        if (m_data && fresh) std::memcpy(fresh, m_data, sizeof(T) * size_t(qMin(n, m_size)));
        std::free(m_data);
        m_data = fresh;
        m_size = n;
    }

    // Drops the contents and leaves n elements of indeterminate value: only for callers that
    // write every element before reading any, where zeroing would be wasted work (and the
    // pages are first touched by whoever writes them).
    void resizeUninitialized(qsizetype n)
    {
        if (n < 0) n = 0;
        if (n == m_size) return;
        T *fresh = allocate(n, false);
        std::free(m_data);
        m_data = fresh;
        m_size = n;
    }

    qsizetype size() const { return m_size; }
    T *data() { return m_data; }
    const T *data() const { return m_data; }
    T &operator[](qsizetype i) { return m_data[i]; }
    const T &operator[](qsizetype i) const { return m_data[i]; }

private:
    static constexpr size_t kHugePage = size_t(2) << 20;

    static T *allocate(qsizetype n, bool zeroed)
    {
        if (n <= 0) return nullptr;
        const size_t bytes = sizeof(T) * size_t(n);
        void *p = nullptr;
        if (bytes >= kHugePage) {
            const size_t rounded = (bytes + kHugePage - 1) / kHugePage * kHugePage;
            p = std::aligned_alloc(kHugePage, rounded);
#if defined(__linux__) && defined(MADV_HUGEPAGE)
            if (p) madvise(p, rounded, MADV_HUGEPAGE);
#endif
            if (p && zeroed) std::memset(p, 0, bytes);
        } else {
            p = zeroed ? std::calloc(size_t(n), sizeof(T)) : std::malloc(bytes);
        }
        if (!p) throw std::bad_alloc();
        return static_cast<T *>(p);
    }

    T *m_data = nullptr;
    qsizetype m_size = 0;
};
