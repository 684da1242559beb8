// FunctionRef: a borrowed callable, two pointers wide, that never allocates. For parameters only: the callable
// must outlive the call it is passed to.
#pragma once

#include <memory>
#include <type_traits>
#include <utility>

namespace Foundation {

template <class Signature>
class FunctionRef;

template <class Result, class... Args>
class FunctionRef<Result(Args...)> {
public:
    template <class Callable>
    requires(!std::is_same_v<std::remove_cvref_t<Callable>, FunctionRef> &&
             std::is_invocable_r_v<Result, Callable&, Args...>)
        FunctionRef(Callable&& callable)  // NOLINT: implicit, so that a lambda can be passed in place
        : object(const_cast<void*>(static_cast<const void*>(std::addressof(callable)))),
          invoke([](void* target, Args... args) -> Result {
              return (*static_cast<std::remove_reference_t<Callable>*>(target))(std::forward<Args>(args)...);
          }) {}

    Result operator()(Args... args) const { return invoke(object, std::forward<Args>(args)...); }

private:
    void* object;
    Result (*invoke)(void*, Args...);
};

}  // namespace Foundation
