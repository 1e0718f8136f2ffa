// Many users, looked at by several processes.
#ifndef QUARROW_DOCTOR_EXAMINATION_RUN_H_
#define QUARROW_DOCTOR_EXAMINATION_RUN_H_

#include <zvellparser.h>

#include <cstddef>
#include <functional>
#include <vector>

#include "doctor/user_examination.h"

namespace Quarrow::Doctor {

// Is told the findings of a user, the index of whom is that in the list of users.
using Tell = std::function<void(std::size_t user, const Findings& findings)>;

// Examines `users`, who have folders, in `jobs` processes, and tells `tell` of each of them in
// their order. A process looks at many users, with the rights of the owner of their folders where
// this process is the superuser's. Where a user's rules end it, that is a finding, and another one
// takes its place.
void examine_users(const std::vector<EmailAddress>& users, const Examination& examination,
                   std::size_t jobs, const Tell& tell);

}  // namespace Quarrow::Doctor

#endif  // QUARROW_DOCTOR_EXAMINATION_RUN_H_
