// A Qt plug-in of some other host: another interface id.
#include <QObject>
#include <QtPlugin>

class OtherHostPlugin : public QObject {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "org.example.OtherHost.Plugin/2.0")
};

#include "WrongIidApp.moc"
