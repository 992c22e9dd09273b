#include "OrvPhotoKitModelPredicateEvaluator.h"

#include "OrvPhotoKitModelFetchEvaluation.h"

#include <QDebug>
#include <QStringList>

using namespace OrvPhotoKit;

namespace OrvPhotoKitModel {

PredicateEvaluator::PredicateEvaluator(const std::optional<Predicate>& predicate)
{
    if (!predicate)
        return;
    myActive = true;
    const QStringList clauses = predicate->format.split(QStringLiteral(" AND "), Qt::SkipEmptyParts);
    int argument = 0;
    for (const QString& clause : clauses) {
        const QStringList parts = clause.simplified().split(QLatin1Char(' '));
        static const QStringList operators = {QStringLiteral("="), QStringLiteral("=="), QStringLiteral("!="),
                                              QStringLiteral("<"), QStringLiteral("<="), QStringLiteral(">"),
                                              QStringLiteral(">=")};
        if (parts.size() != 3 || parts[2] != QLatin1String("%@") || !operators.contains(parts[1])
            || argument >= predicate->arguments.size()) {
            qDebug() << "PhotoKit: unreadable predicate" << predicate->format;
            myBroken = true;
            return;
        }
        myClauses.append({parts[0], parts[1], predicate->arguments[argument++]});
    }
}

bool PredicateEvaluator::matches(const ObjectPtr& object) const
{
    if (!myActive)
        return true;
    if (myBroken)
        return false;
    for (const Clause& clause : myClauses) {
        const QVariant value = valueOf(object, clause.key);
        if (!value.isValid())
            return false;
        const int c = compareValues(value, clause.argument);
        const QString& op = clause.op;
        const bool ok = (op == QLatin1String("=") || op == QLatin1String("==")) ? c == 0
            : op == QLatin1String("!=")                                          ? c != 0
            : op == QLatin1String("<")                                           ? c < 0
            : op == QLatin1String("<=")                                          ? c <= 0
            : op == QLatin1String(">")                                           ? c > 0
                                                                                 : c >= 0;
        if (!ok)
            return false;
    }
    return true;
}

} // namespace OrvPhotoKitModel
