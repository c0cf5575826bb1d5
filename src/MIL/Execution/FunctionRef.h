#pragma once

#include <memory>
#include <type_traits>
#include <utility>

namespace vorlin::mil {

template <class Signature>
class FunctionRef;

/// A reference to something callable, which must outlive it. Unlike std::function it never
/// allocates.
template <class Result, class... Arguments>
class FunctionRef<Result(Arguments...)> {
public:
    template <class Callable>
        requires(!std::is_same_v<std::remove_cvref_t<Callable>, FunctionRef>)
    FunctionRef(Callable&& callable) // NOLINT: stands in for the callable
        : object(const_cast<void*>(static_cast<const void*>(std::addressof(callable)))),
          invoke([](void* target, Arguments... arguments) -> Result {
              return (*static_cast<std::remove_reference_t<Callable>*>(target))(
                  std::forward<Arguments>(arguments)...);
          })
    {
    }

    Result operator()(Arguments... arguments) const
    {
        return invoke(object, std::forward<Arguments>(arguments)...);
    }

private:
    void* object;
    Result (*invoke)(void*, Arguments...);
};

} // namespace vorlin::mil
