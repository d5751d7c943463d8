// Names the application interface id but does not implement it.
#include <uibase/IApp.h>

#include <QObject>

class PretendApp : public QObject {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID ZYN_IAPP_IID)
};

#include "NotAnApp.moc"
