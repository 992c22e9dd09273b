#include "OrvMacFoundation.h"

#include <QDateTime>

namespace OrvMacFoundation {

QString string(NSString* string)
{
    return string ? QString::fromNSString(string) : QString();
}

QStringList strings(NSArray* strings)
{
    QStringList result;
    for (id item in strings) {
        if ([item isKindOfClass:[NSString class]])
            result.append(string(static_cast<NSString*>(item)));
    }
    return result;
}

NSArray<NSString*>* array(const QStringList& strings)
{
    NSMutableArray<NSString*>* result = [NSMutableArray arrayWithCapacity:NSUInteger(strings.size())];
    for (const QString& item : strings)
        [result addObject:item.toNSString()];
    return result;
}

id object(const QVariant& value)
{
    switch (value.typeId()) {
    case QMetaType::Bool:
        return [NSNumber numberWithBool:value.toBool()];
    case QMetaType::Int:
    case QMetaType::Long:
    case QMetaType::LongLong:
    case QMetaType::Short:
        return [NSNumber numberWithLongLong:value.toLongLong()];
    case QMetaType::UInt:
    case QMetaType::ULong:
    case QMetaType::ULongLong:
    case QMetaType::UShort:
        return [NSNumber numberWithUnsignedLongLong:value.toULongLong()];
    case QMetaType::Float:
    case QMetaType::Double:
        return [NSNumber numberWithDouble:value.toDouble()];
    case QMetaType::QString:
        return value.toString().toNSString();
    case QMetaType::QDateTime: {
        const QDateTime date = value.toDateTime();
        return date.isValid() ? static_cast<id>(date.toNSDate()) : static_cast<id>([NSNull null]);
    }
    case QMetaType::QStringList:
        return array(value.toStringList());
    case QMetaType::QVariantList:
        return array(value.toList());
    case QMetaType::QVariantMap:
        return dictionary(value.toMap());
    default:
        return [NSNull null];
    }
}

NSArray* array(const QVariantList& values)
{
    NSMutableArray* result = [NSMutableArray arrayWithCapacity:NSUInteger(values.size())];
    for (const QVariant& value : values)
        [result addObject:object(value)];
    return result;
}

NSDictionary<NSString*, id>* dictionary(const QVariantMap& map)
{
    NSMutableDictionary<NSString*, id>* result = [NSMutableDictionary dictionaryWithCapacity:NSUInteger(map.size())];
    for (auto it = map.cbegin(); it != map.cend(); ++it)
        [result setObject:object(it.value()) forKey:it.key().toNSString()];
    return result;
}

QVariant variant(id object)
{
    if (!object)
        return {};
    if ([object isKindOfClass:[NSString class]])
        return string(static_cast<NSString*>(object));
    if ([object isKindOfClass:[NSDate class]])
        return QDateTime::fromNSDate(static_cast<NSDate*>(object)).toUTC();
    if ([object isKindOfClass:[NSNumber class]]) {
        NSNumber* number = static_cast<NSNumber*>(object);
        // A boolean is the shared CFBoolean, whatever its objCType says.
        if (CFGetTypeID((__bridge CFTypeRef)number) == CFBooleanGetTypeID())
            return bool(number.boolValue);
        const char* type = number.objCType;
        if (type && (type[0] == 'd' || type[0] == 'f'))
            return number.doubleValue;
        return qlonglong(number.longLongValue);
    }
    if ([object isKindOfClass:[NSArray class]]) {
        QVariantList list;
        for (id item in static_cast<NSArray*>(object))
            list.append(variant(item));
        return list;
    }
    if ([object isKindOfClass:[NSDictionary class]]) {
        QVariantMap map;
        NSDictionary* dictionary = static_cast<NSDictionary*>(object);
        for (id key in dictionary) {
            if ([key isKindOfClass:[NSString class]])
                map.insert(string(static_cast<NSString*>(key)), variant([dictionary objectForKey:key]));
        }
        return map;
    }
    return {};
}

QString describe(NSError* error)
{
    if (!error)
        return {};
    return string(error.localizedDescription);
}

void onMainThread(dispatch_block_t block)
{
    if ([NSThread isMainThread])
        block();
    else
        dispatch_async(dispatch_get_main_queue(), block);
}

void offMainThread(dispatch_block_t block)
{
    if ([NSThread isMainThread])
        dispatch_async(dispatch_get_global_queue(DISPATCH_QUEUE_PRIORITY_DEFAULT, 0), block);
    else
        block();
}

} // namespace OrvMacFoundation
