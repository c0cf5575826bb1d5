#include "UI/FolderBrowser.h"

#include <QDir>

#include <algorithm>
#include <memory>

namespace vorlin {

namespace {

QString inside(const QString& folder, const QString& name)
{
    return folder.endsWith('/') ? folder + name : folder + "/" + name;
}

} // namespace

FolderBrowser::Listing FolderBrowser::look(const QString& path, bool withHidden)
{
    const QDir folder(path);
    auto filter = QDir::Dirs | QDir::NoDotAndDotDot;
    if (withHidden) {
        filter |= QDir::Hidden;
    }
    Listing found{folder.isReadable(), folder.entryList(filter, QDir::NoSort)};
    std::ranges::sort(found.folders, [](const QString& left, const QString& right) {
        const int order = left.compare(right, Qt::CaseInsensitive);
        return order != 0 ? order < 0 : left < right;
    });
    return found;
}

void FolderBrowser::list(const QString& next, const QString& toMark)
{
    const bool isAnother = next != path;
    path = next;
    markedName = toMark;
    setTyped(toMark.isEmpty() ? path : inside(path, toMark));
    if (isAnother) {
        names.clear();
        reason.clear();
    }
    Q_EMIT listed();
    Q_EMIT markedChanged();
    refresh();
}

void FolderBrowser::refresh()
{
    const auto found = std::make_shared<Listing>();
    const auto done = lifetime.guard([this, found, number = ++looks] {
        if (number == looks) {
            show(*found);
        }
    });
    workers.runPatiently(
        WorkPriority::normal,
        [found, folder = path, hidden = withHidden] { *found = look(folder, hidden); }, loop, done);
}

void FolderBrowser::show(const Listing& listing)
{
    names = listing.folders;
    reason = !listing.isReadable ? "This folder cannot be read."
             : names.isEmpty()   ? "No folders in here"
                                 : "";
    if (!markedName.isEmpty() && !names.contains(markedName)) {
        const bool isTyped = text != inside(path, markedName);
        markedName.clear();
        if (!isTyped) {
            setTyped(path);
        }
    }
    Q_EMIT listed();
    Q_EMIT markedChanged();
}

void FolderBrowser::mark(int index)
{
    if (index >= 0 && index < names.size()) {
        markedName = names.at(index);
        setTyped(inside(path, markedName));
        Q_EMIT markedChanged();
    }
}

void FolderBrowser::type(const QString& next)
{
    if (next != text) {
        markedName.clear();
        setTyped(next);
        Q_EMIT markedChanged();
    }
}

void FolderBrowser::open(int index)
{
    if (index >= 0 && index < names.size()) {
        list(inside(path, names.at(index)));
    }
}

void FolderBrowser::leave()
{
    if (path != "/") {
        const auto slash = path.lastIndexOf('/');
        list(slash <= 0 ? "/" : path.left(slash), path.mid(slash + 1));
    }
}

void FolderBrowser::find(const QString& beginning)
{
    const auto count = names.size();
    for (qsizetype step = 1; step <= count; ++step) {
        const auto index = (marked() + step) % count;
        if (names.at(index).startsWith(beginning, Qt::CaseInsensitive)) {
            mark(static_cast<int>(index));
            return;
        }
    }
}

void FolderBrowser::toggleHidden()
{
    withHidden = !withHidden;
    refresh();
}

void FolderBrowser::choose()
{
    const QString wanted = QDir::cleanPath(
        text == "~" || text.startsWith("~/") ? QDir::homePath() + text.mid(1) : text);
    const auto isFolder = std::make_shared<bool>(false);
    const auto done = lifetime.guard([this, wanted, isFolder, number = ++choices] {
        if (number != choices) {
            return;
        }
        if (*isFolder) {
            Q_EMIT chosen(wanted);
        } else {
            setProblem("There is no such folder.");
        }
    });
    workers.runPatiently(
        WorkPriority::normal,
        [wanted, isFolder] { *isFolder = QDir::isAbsolutePath(wanted) && QDir(wanted).exists(); },
        loop, done);
}

void FolderBrowser::setTyped(const QString& next)
{
    ++choices; // what was chosen before is not what is meant now
    setProblem("");
    text = next;
    Q_EMIT typedChanged();
}

void FolderBrowser::setProblem(const QString& next)
{
    trouble = next;
    Q_EMIT problemChanged();
}

} // namespace vorlin
