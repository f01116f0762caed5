#include "TAV3DCoolTools.h"

bool CBinaryInform::IfUseResultDataIDMap(int resultType) const
{
    const auto found = m_ResultType.find(resultType);
    return found != m_ResultType.end() && found->second.m_bUseIDMap;
}
