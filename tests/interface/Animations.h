#pragma once

#include <QObject>
#include <QVariantMap>

// How the parts of a document move, which under load no clock could tell.
class Animations final : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    // The animation by which an object follows each change of its property: `duration` in ms and
    // `easing`, a type or the points of a curve.
    Q_INVOKABLE static QVariantMap behavior(const QObject* object, const QString& property);
    // The animations that an object holds, in their order, one in another resolved. With these go
    // `property`, `to`, where it has a start `from`, and the `loops` of all.
    Q_INVOKABLE static QVariantList heldBy(const QObject* object);
};
