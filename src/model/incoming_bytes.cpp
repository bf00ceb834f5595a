#include "model/incoming_bytes.h"

#include <algorithm>

#include "platform/file.h"

std::uint64_t CIncomingBytes::Bring(std::uint64_t end) {
    end = std::min(end, m_size);
    while (m_arrived < end) {
        const std::size_t wanted = static_cast<std::size_t>(std::min(kPieceBytes, m_size - m_arrived));
        if (m_file->Read(m_bytes + m_arrived, wanted) == static_cast<std::int64_t>(wanted)) {
            m_arrived += wanted;
        } else {
            m_hasFailed = true;
            m_size = end = m_arrived;
        }
    }
    return m_arrived;
}
