// QUARROW_EXPORT marks what libquarrow.so exports; everything else in it is hidden.
#ifndef QUARROW_EXPORT_H_
#define QUARROW_EXPORT_H_

#define QUARROW_EXPORT __attribute__((visibility("default")))

#endif  // QUARROW_EXPORT_H_
