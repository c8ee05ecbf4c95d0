#pragma once

/// \file
/// What a thread keeps from one frame to the next.

namespace ai_orvo::model {

/// \return the thread's one `Kept`, or null once it is gone.
///
/// A thread destroys what it keeps before the destructors of objects that were there earlier run: those of
/// static objects at the end of the process, and of an application's own thread-local ones. Such a destructor
/// may still ask a model for its last frame, which then has to do without.
template <typename Kept>
Kept* threadKept() {
    // Has no destructor, so that it can be read for as long as the thread runs.
    thread_local bool isGone = false;
    struct Owner {
        Kept kept;
        ~Owner() { isGone = true; }
    };
    if (isGone) {
        return nullptr;
    }
    thread_local Owner owner;
    return &owner.kept;
}

}  // namespace ai_orvo::model
