// What reading a script changes in libsieve, kept for the next run of the same script.
//
// libsieve reads the script again in every run. Reading goes on in memory alone, in the heap and in
// libsieve's variables, and depends on nothing but the script and what was there before, which is
// the same in each run of one matcher. So what one run's reading has changed is written in the next
// run instead of reading.
#ifndef QUARROW_SIEVE_MATCH_PARSED_SCRIPT_H_
#define QUARROW_SIEVE_MATCH_PARSED_SCRIPT_H_

namespace Quarrow::parsed_script {

// The next run is given `script`, by callbacks that get `user`. A null script stands for a run that
// reads it in any case: the trace tells of reading.
void expect(const char* script, const void* user);

}  // namespace Quarrow::parsed_script

#endif  // QUARROW_SIEVE_MATCH_PARSED_SCRIPT_H_
