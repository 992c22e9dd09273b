#pragma once

// NSPredicate over the formats of PhotoKit fetches: comparisons "key op %@"
// joined by AND. A format that cannot be read matches nothing.

#include "OrvPhotoKit.h"

#include <QList>
#include <QString>
#include <QVariant>

#include <optional>

namespace OrvPhotoKitModel {

class PredicateEvaluator
{
public:
    explicit PredicateEvaluator(const std::optional<OrvPhotoKit::Predicate>& predicate);
    bool matches(const OrvPhotoKit::ObjectPtr& object) const;

private:
    struct Clause
    {
        QString key;
        QString op;
        QVariant argument;
    };
    bool myActive = false;
    bool myBroken = false;
    QList<Clause> myClauses;
};

} // namespace OrvPhotoKitModel
