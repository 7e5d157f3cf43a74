// The parameter ids a controller supports, sorted into four categories.
#pragma once

#include <set>

// Category codes: 1 common (saved to the scheme files), 2 especial (its own
// file), 3 set-only (never read back from the module), 4 keep-default-value.
// 0: not registered. Filled by the controller's constructor, read-only after.
class IdManager {
public:
    enum { Unknown = 0, Common = 1, Especial = 2, SetOnly = 3, KeepDefaultValue = 4 };

    IdManager();
    ~IdManager();

    // Inserts one id into the set of category `type`; other types are ignored.
    void addParameterId(int type, int id);
    // Inserts firstId..lastId inclusive; nothing when firstId > lastId.
    void addParameterId(int type, int firstId, int lastId);

    int isIdExistInSet(int id, const std::set<int>& s) const;
    // In any set, tried common, especial, set-only, keep-default-value.
    int isIdExist(int id) const;
    // The category, tested keep-default-value first (so an id that is both
    // common and keep-default-value reports 4), then common, especial,
    // set-only; 0 when in none.
    int getIdType(int id) const;

    // Replace `out` with a copy of the named set; always 1.
    int getCommonIdList(std::set<int>& out) const;
    int getEspecialIdList(std::set<int>& out) const;
    int getSetOnlyIdList(std::set<int>& out) const;
    int getKeepDefaultValueList(std::set<int>& out) const;

private:
    std::set<int>* setOf(int type);

    std::set<int> m_setCommon;
    std::set<int> m_setEspecial;
    std::set<int> m_setSetOnly;
    std::set<int> m_setKeepDefault;
};
