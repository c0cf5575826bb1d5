#include "Platform/macOS/MacFolders.h"

#include "Async/Fatal.h"
#include "Platform/Shared/FolderTree.h"
#include "Platform/Shared/PlainFile.h"
#include "Platform/macOS/Objects/Text.h"
#include "Platform/macOS/Plain/ModelFolders.h"

#include <Foundation/Foundation.h>

namespace vorlin {

namespace {

std::filesystem::path applicationSupport()
{
    @autoreleasepool {
        NSURL* const folder =
            [[NSFileManager defaultManager] URLsForDirectory:NSApplicationSupportDirectory
                                                   inDomains:NSUserDomainMask]
                .firstObject;
        if (folder == nil) {
            fatal("the person has no Application Support folder");
        }
        return textOf(folder.path);
    }
}

} // namespace

MacFolders::MacFolders() : root(applicationSupport() / "Vorlin" / "Models") {}

void MacFolders::makeModelsRoot()
{
    @autoreleasepool { // as below: a worker has none
        if (NSURL* const folder = fileURL(root)) {
            [[NSFileManager defaultManager] createDirectoryAtURL:folder
                                     withIntermediateDirectories:YES
                                                      attributes:nil
                                                           error:nil];
        }
    }
}

std::optional<std::string> MacFolders::whyUnusable(const std::filesystem::path& folder,
                                                   const std::string& name)
{
    @autoreleasepool {
        const BOOL exists =
            [[NSFileManager defaultManager] fileExistsAtPath:nsText((folder / name).string())];
        return exists ? std::nullopt : std::optional<std::string>("");
    }
}

std::uint64_t MacFolders::allocatedSize(const std::filesystem::path& folder)
{
    @autoreleasepool {
        NSURL* const address = fileURL(folder);
        if (address == nil) {
            return 0;
        }
        NSDirectoryEnumerator<NSURL*>* const items = [[NSFileManager defaultManager]
                       enumeratorAtURL:address
            includingPropertiesForKeys:[NSArray arrayWithObject:NSURLTotalFileAllocatedSizeKey]
                               options:0
                          errorHandler:nil];
        std::uint64_t size = 0;
        for (NSURL* item in items) {
            id bytes = nil;
            [item getResourceValue:&bytes forKey:NSURLTotalFileAllocatedSizeKey error:nil];
            size += [static_cast<NSNumber*>(bytes) unsignedLongLongValue];
        }
        return size;
    }
}

void MacFolders::removeModel(const std::filesystem::path& folder)
{
    if (isDirectlyBelow(folder, root)) {
        removeWhole(openFolder(root), folder.filename());
    }
}

Bytes MacFolders::read(const std::filesystem::path& file, std::size_t most,
                       const std::function<void()>& onProgress)
{
    return readPlainFile(file, most, onProgress);
}

} // namespace vorlin
