#pragma once

// One prepared statement on a read-only SQLite connection. A statement that
// cannot be prepared (a table the library does not have, a damaged file) is
// empty: it yields no rows, and error() says why. Values are read defensively:
// a library can hold anything in any column.

#include <QByteArray>
#include <QString>

#include <optional>

struct sqlite3;
struct sqlite3_stmt;

namespace OrvPhotosLibrary {

class Statement
{
public:
    Statement(sqlite3* db, const QString& sql);
    ~Statement();
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    bool isValid() const { return myStatement != nullptr; }
    // Why the statement could not be prepared or stepping stopped; empty when all went well.
    QString error() const { return myError; }
    bool failed() const { return !myError.isEmpty(); }

    void bind(int index, qint64 value);
    void bind(int index, const QString& value);
    // The next row; false at the end and on an error (then failed() is true).
    bool next();
    // Ready to step again, with new bindings.
    void reset();

    bool isNull(int column) const;
    // NULL, text that is no number and values out of range give the fallback.
    qint64 integer(int column, qint64 fallback = 0) const;
    // A finite number, or nothing (NULL, text, infinities, NaN).
    std::optional<double> real(int column) const;
    // Text as UTF-8 (invalid sequences replaced); a NULL is an empty string.
    // With room for spare more characters, so that appending them costs no copy.
    QString text(int column, qsizetype spare = 0) const;

    // Identifiers the library names (tables, columns) go into SQL only quoted,
    // and only when they are plain names.
    static bool isPlainName(const QString& name);
    static QString quoted(const QString& name);

private:
    sqlite3* myDb = nullptr;
    sqlite3_stmt* myStatement = nullptr;
    QString myError;
};

} // namespace OrvPhotosLibrary
