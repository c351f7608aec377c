#pragma once
// What a description says, and an application may restrict.

#include <GenApi/Types.h>

namespace genapi {

/// An access mode or a visibility; both together hold. Guarded by the map's lock.
template<class Mode>
class Imposable {
public:
    /// `own` is what holds when nothing is said.
    explicit Imposable(Mode own) : m_Own(own), m_Imposed(own), m_Both(own) {}

    void SetOwn(Mode mode) { Set(mode, m_Imposed); }
    /// In place of what was imposed before.
    void Impose(Mode mode) { Set(m_Own, mode); }
    Mode Get() const { return m_Both; }

private:
    void Set(Mode own, Mode imposed) {
        m_Own = own;
        m_Imposed = imposed;
        m_Both = GenApi::Combine(own, imposed);
    }

    Mode m_Own;
    Mode m_Imposed;
    Mode m_Both;
};

} // namespace genapi
