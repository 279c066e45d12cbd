// Time_StEditOptimizer: makes many changes of a map one edit, in any order, with one rebuild and one
// broadcast at the end of the scope.
//
//     const Time_TempoMap_StEditOptimizer edit(map);
//     for (…) map.AddSegment(…);
#pragma once

template <class Map>
class [[nodiscard]] Time_StEditOptimizer
{
public:
    // The edit is open until the scope ends. Scopes nest.
    explicit Time_StEditOptimizer(Map& ioMap)
        : mMap(ioMap)
    {
        mMap.BeginEdit();
    }
    ~Time_StEditOptimizer() { mMap.EndEdit(); }
    Time_StEditOptimizer(const Time_StEditOptimizer&) = delete;
    Time_StEditOptimizer& operator=(const Time_StEditOptimizer&) = delete;

private:
    Map& mMap;
};
