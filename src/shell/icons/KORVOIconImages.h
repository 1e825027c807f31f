#pragma once

#include <QIcon>
#include <QString>
#include <QStringList>

// KORVO's own pictures, drawn as vectors in code so that they are sharp at every size and device
// pixel ratio. An object's picture is its type's glyph with a badge for its state (new, only in
// VSS, only in SQL, checked in, checked out by me, checked out by another, deleted); a folder is a
// folder with its type's glyph as emblem; the synchronisation pictures are an arrow towards the side
// that is altered, coloured by the action, inside the edges of a green or red bracket.
//
// A synchronisation picture fills whatever rectangle it is painted into: the arrow stands in the
// middle and the bracket runs along the rectangle's edges, so painted over the whole height of
// neighbouring grid rows the brackets of a group join into one.
//
// Names are those of the icon list ("STOREDPROCEDURE:CHECKEDIN", "VIEWS", "SYNC:ADDVSS",
// "PERMISSION:GRANT", "ADD:L:R:LTR", ...) and are case-insensitive. A name that KORVO does not
// draw gives the picture of "-". Icons are made once per name and kept.
QIcon KORVOIconImage(const QString &iconName);

// A generic action ("new", "open", "save", "cut", "copy", "paste", "undo", "redo", "find",
// "refresh", "help", "sync", "test", "getlatest", "checkin", "checkout", "undocheckout", "history",
// "permissions", "description"): the desktop theme's icon where the theme has one for it, else
// KORVO's own picture. Any other word is taken as an icon name for KORVOIconImage.
QIcon KORVOActionIcon(const QString &action);

// When the platform names no icon theme (offscreen, bare X sessions), picks an installed one so
// that KORVOActionIcon finds the desktop's pictures. Called once by the program at start.
void KORVOInitIconTheme();

// Every icon name that KORVO draws, in the order of the contact sheet, and the action words.
QStringList KORVOIconNames();
QStringList KORVOActionNames();
