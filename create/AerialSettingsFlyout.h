#pragma once

#include <appcreate/CreateModelFlyout.h>

#include <QList>
#include <QPointer>
#include <QSet>
#include <QValidator>

#include <memory>

class QLineEdit;

namespace Ui {
class AerialSettingsFlyout;
}

namespace Zyn {
namespace AppCreate {

class MainState;

// Project settings beside the photo canvas of the aerial create view: name,
// outputs, pixel size, target coordinate system, cloud-credit cost, Start.
class AerialSettingsFlyout : public CreateModelFlyout {
    Q_OBJECT
public:
    // Accepts only the characters a project folder name may use here.
    // Deliberately not installed on the field: typing is policed by the key
    // filter, and this is asked only when the name is validated.
    class SceneNameValidator : public QValidator {
    public:
        SceneNameValidator(QLineEdit* lineEdit, QObject* parent = nullptr);
        State validate(QString& text, int& pos) const override;

    private:
        QSet<char> m_allowed;
        QPointer<QLineEdit> m_lineEdit;
    };

    AerialSettingsFlyout(MainState& state, QWidget* parent);
    ~AerialSettingsFlyout() override;

    void setDefaultGpsCoordSys(QString zoneCode);

    // Shows its own error message and answers false when the name is
    // empty or has a character outside the allowed set.
    bool ValidateModelName();

    // Credit line rule: the first pool that covers the project (grey), else
    // the largest one (red). Answers the rich text of label_current_cc, or
    // nothing when there are no pools.
    static QString cloudCreditsText(const QList<int>& available, int required);

public slots:
    void GetSettings(bool& mesh, bool& pointCloud, bool& orthoMap, float& pixelSizeMeters,
                     QString& coordSysId) const override;

    void on_start_button_clicked();
    void on_modelname_lineedit_returnPressed();
    void on_close_toolButton_clicked();
    void on_mesh_checkBox_clicked();
    void on_orthomap_checkBox_stateChanged(int state);
    // Closing while Start waits for the account's answer cancels the start.
    void reject() override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void InitializeSceneNameValidator();
    void setCloudCreditsTexts();
    void start();
    // Says which photos cannot be read and are left out; false when the
    // user would rather not start without them.
    bool acceptUnreadableLeftOut();
    bool filterNameKey(const QKeyEvent* event) const;

    std::unique_ptr<Ui::AerialSettingsFlyout> ui;
    std::unique_ptr<SceneNameValidator> m_sceneNameValidator;
    // A Start waiting for the account's answer; later Starts are ignored.
    bool m_startPending = false;
    int m_startRequest = 0;
};

} // namespace AppCreate
} // namespace Zyn
