/* A host in C. */
#ifndef TESTS_C_C_HOST_H_
#define TESTS_C_C_HOST_H_

#ifdef __cplusplus
extern "C" {
#endif

/* Lists monitors and windows, shares the primary monitor at once into a queue and with a
 * listener, and ends both after some frames. Null, or what went wrong. */
const char* run_c_host(void);

#ifdef __cplusplus
}
#endif

#endif /* TESTS_C_C_HOST_H_ */
