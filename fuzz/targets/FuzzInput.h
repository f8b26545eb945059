#pragma once
// What a fuzz target makes of libFuzzer's bytes: the raw bytes, or text (UTF-8 with the
// invalid sequences replaced, as any file or answer is read), and a byte to choose with.
#include <QByteArray>
#include <QString>

#include <cstddef>
#include <cstdint>

struct FuzzInput {
    FuzzInput(const uint8_t* data, size_t size)
        : bytes(QByteArray(reinterpret_cast<const char*>(data), qsizetype(size))),
          text(QString::fromUtf8(bytes)) {}
    // The first byte (0 when empty), to pick among a target's variants.
    int selector() const { return bytes.isEmpty() ? 0 : uint8_t(bytes.at(0)); }

    QByteArray bytes;
    QString text;
};
