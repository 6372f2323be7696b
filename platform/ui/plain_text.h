// Text from outside, shown letter by letter: names, paths and messages that come from files and other
// programs. Left alone Qt takes what looks like rich text for rich text, and opens the files that it names.
// [ui-thread]
#pragma once

#include <QLabel>
#include <QString>
#include <QTextDocument>

/// For tips, message boxes and dialogs, which have no switch of their own.
inline QString PlainText(const QString& text) {
    return Qt::mightBeRichText(text) ? Qt::convertFromPlainText(text, Qt::WhiteSpaceNormal) : text;
}

/// Every label whose text is not our own from its first to its last letter is made here.
inline QLabel* MakePlainLabel(QWidget* parent) {
    auto* label = new QLabel(parent);
    label->setTextFormat(Qt::PlainText);
    return label;
}
