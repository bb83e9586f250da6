#include "response/ReceivedPart.hpp"

namespace ZOLNS2::HTTP::HTTPResponseUnit
{

void ReceivedPart::beginAfterBoundary()
{
    m_kind = E_UNDECIDED;
    m_counted = 0;
    m_bytes.clear();
}

void ReceivedPart::append(const char* bytes, std::size_t count)
{
    if (m_kind == E_PREAMBLE || m_kind == E_EPILOGUE)
    {
        m_counted += count;
        return;
    }
    m_bytes.append(bytes, count);
    if (m_kind == E_UNDECIDED && m_bytes.size() >= 2)
    {
        m_kind = m_bytes[0] == '-' && m_bytes[1] == '-' ? E_EPILOGUE : E_PART;
        if (m_kind == E_EPILOGUE)
        {
            m_counted = m_bytes.size();
            m_bytes.clear();
        }
    }
}

} // namespace ZOLNS2::HTTP::HTTPResponseUnit
