#pragma once

#include <QByteArray>
#include <QRandomGenerator>

namespace demo {

/// Bytes nobody can guess.
inline QByteArray randomBytes(int count)
{
    QByteArray bytes(count, Qt::Uninitialized);
    for (char &byte : bytes)
        byte = static_cast<char>(QRandomGenerator::system()->bounded(256));
    return bytes;
}

/// A token nobody can guess, in characters that need no escaping anywhere.
inline QByteArray randomToken()
{
    return randomBytes(32).toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals);
}

} // namespace demo
