#pragma once

#include <QCryptographicHash>

#include <string>

namespace quorvel::test {

// Lower-case hex digests, from Qt's own implementation rather than the one under test.
inline std::string hexDigest(const std::string& bytes, QCryptographicHash::Algorithm algorithm)
{
    return QCryptographicHash::hash(QByteArray::fromStdString(bytes), algorithm).toHex().toStdString();
}

} // namespace quorvel::test
