#pragma once

#include <QGroupBox>

class QCheckBox;
class QComboBox;
class QFormLayout;
struct BackendVersions;

namespace simulation {

class Session;

/// Controls the state of the simulated Controller: version, lock, router mode, model and output types. It
/// also shows the changes that the module makes to the router mode.
class StatePanel : public QGroupBox
{
    Q_OBJECT

public:
    explicit StatePanel(Session &session, QWidget *parent = nullptr);

    /// Enables or disables the choice of the version, which must be disabled while the module's dialog is
    /// open.
    void setVersionChangeable(bool changeable);

signals:
    /// The user has chosen another \a version; the module must be reloaded.
    void versionWanted(const BackendVersions &version);

private:
    void makeVersions(QFormLayout *form);
    void makeSwitches(QFormLayout *form);
    void makeModels(QFormLayout *form);
    void makeTypes(QFormLayout *form);
    void showState();

    Session &m_session;
    QComboBox *m_version;
    QCheckBox *m_locked;
    QCheckBox *m_router;
    QComboBox *m_model;
    QComboBox *m_types;
};

} // namespace simulation
