#include "Animations.h"

#include <QEasingCurve>
#include <QPointF>
#include <QQmlListReference>
#include <QQmlProperty>
#include <QtQml>

using namespace Qt::StringLiterals;

namespace {

QVariant easingOf(const QObject* animation)
{
    const auto easing = animation->property("easing").value<QEasingCurve>();
    if (easing.type() != QEasingCurve::BezierSpline) {
        return easing.type();
    }
    QVariantList points;
    for (const QPointF& point : easing.toCubicSpline()) {
        points << point.x() << point.y();
    }
    return points;
}

QVariantMap describe(const QObject* animation)
{
    QVariantMap described;
    for (const char* name : {"duration", "property", "from", "to"}) {
        const QVariant value = animation->property(name);
        if (value.isValid() && !value.toString().isEmpty()) {
            described.insert(QString::fromLatin1(name), value);
        }
    }
    if (animation->inherits("QQuickPropertyAnimation")) {
        described.insert(u"easing"_s, easingOf(animation));
    }
    return described;
}

} // namespace

QVariantMap Animations::behavior(const QObject* object, const QString& property)
{
    for (QObject* child : object->children()) {
        if (child->inherits("QQuickBehavior")
            && QQmlProperty(child, u"targetProperty.name"_s).read().toString() == property) {
            if (child->property("animation").value<QObject*>() == nullptr) {
                qmlExecuteDeferred(child); // made at the first change, otherwise
            }
            return describe(child->property("animation").value<QObject*>());
        }
    }
    return {};
}

QVariantList Animations::heldBy(const QObject* object)
{
    QVariantList found;
    for (QObject* child : object->children()) {
        if (!child->inherits("QQuickAbstractAnimation")) {
            continue;
        }
        const QVariant loops = child->property("loops");
        const QQmlListReference parts(child, "animations");
        QObjectList animations;
        for (qsizetype i = 0; i < parts.count(); ++i) {
            animations << parts.at(i);
        }
        if (animations.isEmpty()) {
            animations << child;
        }
        for (const QObject* animation : animations) {
            QVariantMap described = describe(animation);
            described.insert(u"loops"_s, loops);
            found << described;
        }
    }
    return found;
}
