// SPDX-License-Identifier: MIT
/* Why a device is left out of an answer. */
#include "ctl.h"

#include "../store/message.h"

static void tell_fault(const finding *it)
{
	if (*it->file && it->line > 0)
		qos_warn("%s, line %d: %s", it->file, it->line, it->text);
	else if (*it->file)
		qos_warn("%s: %s", it->file, it->text);
	else if (*it->device)
		qos_warn("%s: %s", it->device, it->text);
	else
		qos_warn("%s", it->text);
}

bool tell_faults(const plan *it, const options *given)
{
	bool has_fault = false;
	for (const finding &one : it->findings) {
		if (one.weight != FAULT)
			continue;
		if (*one.device ? !is_wanted(given, one.device) : given->device != nullptr)
			continue;
		tell_fault(&one);
		has_fault = true;
	}
	return has_fault;
}
