// Parameter id sets.
#include "config/IdManager.h"

IdManager::IdManager() = default;

IdManager::~IdManager() = default;

std::set<int>* IdManager::setOf(int type) {
    switch (type) {
    case Common:
        return &m_setCommon;
    case Especial:
        return &m_setEspecial;
    case SetOnly:
        return &m_setSetOnly;
    case KeepDefaultValue:
        return &m_setKeepDefault;
    default:
        return nullptr;
    }
}

void IdManager::addParameterId(int type, int id) {
    if (std::set<int>* s = setOf(type))
        s->insert(id);
}

void IdManager::addParameterId(int type, int firstId, int lastId) {
    std::set<int>* s = setOf(type);
    if (s == nullptr)
        return;
    // Counted in 64 bits so that lastId == INT_MAX ends the loop.
    for (long long id = firstId; id <= lastId; ++id)
        s->insert(static_cast<int>(id));
}

int IdManager::isIdExistInSet(int id, const std::set<int>& s) const {
    return s.count(id) != 0;
}

int IdManager::isIdExist(int id) const {
    return isIdExistInSet(id, m_setCommon) || isIdExistInSet(id, m_setEspecial) ||
           isIdExistInSet(id, m_setSetOnly) || isIdExistInSet(id, m_setKeepDefault);
}

int IdManager::getIdType(int id) const {
    if (isIdExistInSet(id, m_setKeepDefault))
        return KeepDefaultValue;
    if (isIdExistInSet(id, m_setCommon))
        return Common;
    if (isIdExistInSet(id, m_setEspecial))
        return Especial;
    if (isIdExistInSet(id, m_setSetOnly))
        return SetOnly;
    return Unknown;
}

int IdManager::getCommonIdList(std::set<int>& out) const {
    out = m_setCommon;
    return 1;
}

int IdManager::getEspecialIdList(std::set<int>& out) const {
    out = m_setEspecial;
    return 1;
}

int IdManager::getSetOnlyIdList(std::set<int>& out) const {
    out = m_setSetOnly;
    return 1;
}

int IdManager::getKeepDefaultValueList(std::set<int>& out) const {
    out = m_setKeepDefault;
    return 1;
}
