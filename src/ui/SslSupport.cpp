#include "ui/SslSupport.h"

#include <QDebug>
#include <QSslCipher>
#include <QSslConfiguration>
#include <QSslSocket>

void writeSslSupport()
{
    qDebug() << (QSslSocket::supportsSsl() ? "true" : "false");
    const auto supported = QSslConfiguration::supportedCiphers();
    for (const QSslCipher &cipher : supported)
        qDebug() << cipher.name();
    const auto defaults = QSslConfiguration::defaultConfiguration().ciphers();
    for (const QSslCipher &cipher : defaults)
        qDebug() << cipher.name();
}
