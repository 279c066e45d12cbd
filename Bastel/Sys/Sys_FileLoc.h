// Sys_FileLoc: where a file is, as a path in UTF-8.
//
// "/" separates folders on every platform; Windows takes "\" and drive letters too.
// Nothing here touches the disk.
#pragma once

#include "Export/Kora_API.h"

#include <string>
#include <string_view>

class KORA_API Sys_FileLoc
{
public:
    Sys_FileLoc();
    // A path in UTF-8, in the system's form.
    explicit Sys_FileLoc(std::string iPath);
    ~Sys_FileLoc();
    Sys_FileLoc(const Sys_FileLoc&);
    Sys_FileLoc& operator=(const Sys_FileLoc&);

    const std::string& GetPath() const { return mPath; }
    bool IsEmpty() const { return mPath.empty(); }
    // The part after the last separator: "take 1.kora" of "/songs/take 1.kora".
    std::string GetName() const;
    // The folder that the file is in; "." for a bare name.
    Sys_FileLoc GetFolder() const;
    // The same place with a text appended to the name: how a file gets a companion beside it.
    [[nodiscard]] Sys_FileLoc WithSuffix(std::string_view iSuffix) const;

    bool operator==(const Sys_FileLoc&) const = default;

private:
    std::string mPath;
};
