#include "OrvPhotosLibraryStatement.h"

#include <sqlite3.h>

#include <algorithm>

#include <cmath>

namespace OrvPhotosLibrary {

Statement::Statement(sqlite3* db, const QString& sql) : myDb(db)
{
    if (!db) {
        myError = QStringLiteral("no database");
        return;
    }
    const QByteArray utf8 = sql.toUtf8();
    if (sqlite3_prepare_v2(db, utf8.constData(), int(utf8.size()), &myStatement, nullptr) != SQLITE_OK) {
        myError = QString::fromUtf8(sqlite3_errmsg(db));
        sqlite3_finalize(myStatement);
        myStatement = nullptr;
    }
}

Statement::~Statement() { sqlite3_finalize(myStatement); }

void Statement::bind(int index, qint64 value)
{
    if (myStatement)
        sqlite3_bind_int64(myStatement, index, value);
}

void Statement::bind(int index, const QString& value)
{
    if (!myStatement)
        return;
    const QByteArray utf8 = value.toUtf8();
    sqlite3_bind_text(myStatement, index, utf8.constData(), int(utf8.size()), SQLITE_TRANSIENT);
}

bool Statement::next()
{
    if (!myStatement || failed())
        return false;
    const int status = sqlite3_step(myStatement);
    if (status == SQLITE_ROW)
        return true;
    if (status != SQLITE_DONE)
        myError = QString::fromUtf8(sqlite3_errmsg(myDb));
    return false;
}

void Statement::reset()
{
    if (myStatement) {
        sqlite3_reset(myStatement);
        sqlite3_clear_bindings(myStatement);
    }
    myError.clear();
}

bool Statement::isNull(int column) const
{
    return !myStatement || sqlite3_column_type(myStatement, column) == SQLITE_NULL;
}

qint64 Statement::integer(int column, qint64 fallback) const
{
    if (!myStatement)
        return fallback;
    switch (sqlite3_column_type(myStatement, column)) {
    case SQLITE_INTEGER:
        return sqlite3_column_int64(myStatement, column);
    case SQLITE_FLOAT: {
        // Converted only where it fits: casting a huge double is undefined.
        const double value = sqlite3_column_double(myStatement, column);
        return std::isfinite(value) && std::fabs(value) < 9.0e18 ? qint64(value) : fallback;
    }
    default:
        return fallback;
    }
}

std::optional<double> Statement::real(int column) const
{
    if (!myStatement)
        return std::nullopt;
    const int type = sqlite3_column_type(myStatement, column);
    if (type != SQLITE_FLOAT && type != SQLITE_INTEGER)
        return std::nullopt;
    const double value = sqlite3_column_double(myStatement, column);
    return std::isfinite(value) ? std::optional<double>(value) : std::nullopt;
}

QString Statement::text(int column, qsizetype spare) const
{
    if (!myStatement || sqlite3_column_type(myStatement, column) == SQLITE_NULL)
        return QString();
    const auto* bytes = reinterpret_cast<const char*>(sqlite3_column_text(myStatement, column));
    const int size = sqlite3_column_bytes(myStatement, column);
    if (!bytes)
        return QString();
    if (spare > 0 && std::all_of(bytes, bytes + size, [](char c) { return static_cast<unsigned char>(c) < 0x80; })) {
        QString ascii;
        ascii.reserve(size + spare);
        ascii.append(QLatin1String(bytes, size));
        return ascii;
    }
    return QString::fromUtf8(bytes, size);
}

bool Statement::isPlainName(const QString& name)
{
    if (name.isEmpty() || name.size() > 128)
        return false;
    for (const QChar c : name) {
        if (!(c.isDigit() || (c >= QLatin1Char('A') && c <= QLatin1Char('Z')) || (c >= QLatin1Char('a') && c <= QLatin1Char('z'))
              || c == QLatin1Char('_')))
            return false;
    }
    return true;
}

QString Statement::quoted(const QString& name) { return QLatin1Char('"') + name + QLatin1Char('"'); }

} // namespace OrvPhotosLibrary
