// SPDX-License-Identifier: MIT
/* The handlers of the pages, by kind: the module's, and ours of the bands. */
#include "handlers.h"

#include "../web/web.h"
#include "pages/bands.h"

int call_display(object_kind kind, char *id, int mode)
{
	switch (kind) {
	case POLICY: return policy_display(id, mode);
	case CLASS: return class_display(id, mode);
	case FILTER: return filter_display(id, mode);
	case PORT: return port_display(id, mode);
	case IP: return ip_display(id, mode);
	case BASIC: return basic_display(id, mode);
	}
	return 0;
}

int call_save(object_kind kind)
{
	switch (kind) {
	case POLICY: return policy_save();
	case CLASS: return class_save();
	case FILTER: return filter_save();
	case PORT: return port_save();
	case IP: return ip_save();
	case BASIC: return basic_save();
	}
	return 0;
}

int call_update(object_kind kind)
{
	switch (kind) {
	case POLICY: return policy_update();
	case CLASS: return class_update();
	case FILTER: return filter_update();
	case PORT: return port_update();
	case IP: return ip_update();
	case BASIC: return basic_update();
	}
	return 0;
}

int call_delete(object_kind kind, char *id)
{
	switch (kind) {
	case POLICY: return policy_delete(id);
	case CLASS: return class_delete(id);
	case FILTER: return filter_delete(id);
	case PORT: return port_delete(id);
	case IP: return ip_delete(id);
	case BASIC: return basic_delete(id);
	}
	return 0;
}
