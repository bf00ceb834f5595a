// The bytes of a document on their way into its block: a load checks each piece of a file while it is still in the
// processor's cache, and only then reads the next one.
#pragma once

#include <cstddef>
#include <cstdint>

class CInputFile;

class CIncomingBytes {
public:
    static constexpr std::uint64_t kPieceBytes = 256 * 1024;  // fits into any cache of the second level

    /// Bytes that are there already.
    explicit CIncomingBytes(std::uint64_t size) : m_size(size), m_arrived(size) {}
    /// Bytes of a file, to be read to `bytes`; both must outlive this.
    CIncomingBytes(CInputFile& file, unsigned char* bytes, std::uint64_t size)
        : m_file(&file), m_bytes(bytes), m_size(size) {}

    /// How many there are, and how many of them have arrived.
    std::uint64_t Size() const { return m_size; }
    std::uint64_t Arrived() const { return m_arrived; }

    /// Has all before `end` arrive, and tells how many have then: fewer when there are not so many, or the file cannot
    /// be read so far.
    std::uint64_t Bring(std::uint64_t end);

    /// The file could not be read to the end that it had at first.
    bool HasFailed() const { return m_hasFailed; }

private:
    CInputFile* m_file = nullptr;
    unsigned char* m_bytes = nullptr;
    std::uint64_t m_size;
    std::uint64_t m_arrived = 0;
    bool m_hasFailed = false;
};
