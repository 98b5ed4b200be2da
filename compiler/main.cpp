/* qos_compile: compiles the QoS stores into the scripts of the router's traffic control. The exit
 * status is the result of do_policy: 1 when the run went to its end and at least one device
 * script was opened, 0 when the policy store cannot be read, else 255. */
#include "compiler.h"

int main(void)
{
	return do_policy();
}
