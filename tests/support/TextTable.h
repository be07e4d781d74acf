#pragma once

#include <QTest>

#include <initializer_list>

// As Qt 6 spells it.
inline QString operator""_s(const char *text, size_t size)
{
    return QString::fromUtf8(text, int(size));
}

// A table of texts "given -> expected": each row is named after what is given, and the column holds what is expected.
inline void textTable(const char *column, std::initializer_list<QByteArray> rows)
{
    QTest::addColumn<QString>(column);
    for (const QByteArray &row : rows)
        QTest::addRow("%s", row.left(row.indexOf(" -> ")).constData())
            << QString::fromUtf8(row.mid(row.indexOf(" -> ") + 4));
}
