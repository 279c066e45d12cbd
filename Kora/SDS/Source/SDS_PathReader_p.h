// SDS_PathReader: the names of a path, one after the other, however many slashes stand between them.
#pragma once

#include "Kora/SDS/FicInterface/SDS_Error.h"
#include "Kora/SDS/Source/SDS_Name_p.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

class SDS_PathReader
{
public:
    // The names that it gives lie in the path.
    explicit SDS_PathReader(std::string_view iPath)
        : mRest(iPath)
    {
    }

    // False at the end. A name that is too long gives eSDSErr_NameTooLong in oResult.
    bool Next(std::string_view& oName, ESDSError& oResult)
    {
        mRest.remove_prefix((std::min)(mRest.find_first_not_of('/'), mRest.size()));
        if (mRest.empty()) return false;
        oName = mRest.substr(0, mRest.find('/'));
        mRest.remove_prefix(oName.size());
        if (oName.size() > SDS_Name::cMaxLength) oResult = eSDSErr_NameTooLong;
        return true;
    }

private:
    std::string_view mRest;
};
