#pragma once

#include <QGroupBox>

class QCheckBox;
class QComboBox;
class QFormLayout;
class Session;
struct BackendVersions;

/// The simulated Controller's own state: version, lock, router mode, model and output types. It follows what
/// the module changes.
class StatePanel : public QGroupBox
{
    Q_OBJECT

public:
    explicit StatePanel(Session &session, QWidget *parent = nullptr);

    /// The version can be chosen while no dialog of the module is open.
    void setVersionChangeable(bool changeable);

signals:
    /// The user wants the Controller in this version, which takes a module that is loaded anew.
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
