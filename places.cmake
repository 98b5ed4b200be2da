# SPDX-License-Identifier: MIT
# Where the router keeps what is ours. A distribution has it where it keeps such things:
#
#   cmake -S . -B build -DQOS_PREFIX=/usr/lib/qos -DQOS_STORES=/var/lib/qos/stores
#
# Files are installed there, and the programs, scripts and configuration files look there.
set(PLACE_MAX 64) # characters: longer names of objects would not fit behind it

# What becomes part of shell commands, of the web server's configuration and of C texts.
function(check_place name)
	string(LENGTH "${${name}}" length)
	if(NOT "${${name}}" MATCHES "^(/[A-Za-z0-9_.-]+)+$" OR "${${name}}/" MATCHES "/\\.\\.?/")
		message(FATAL_ERROR "${name} is '${${name}}': an absolute path of letters, digits and "
			"_.- is wanted, without a slash at its end")
	elseif(length GREATER PLACE_MAX)
		message(FATAL_ERROR "${name} is ${length} characters long, of ${PLACE_MAX} at most")
	endif()
endfunction()

# The programs have the defaults in them (store/places.h): they are told what differs.
macro(add_place name default what)
	set(${name} "${default}" CACHE STRING "${what}")
	check_place(${name})
	if(NOT ${name} STREQUAL "${default}")
		add_compile_definitions(${name}="${${name}}")
		list(APPEND QOS_MOVED ${name})
	endif()
endmacro()

set(QOS_MOVED) # places that are not the default ones
add_place(QOS_PREFIX /usr/local "programs and pages are installed below it, in sbin and www")
add_place(QOS_STORES /etc/conf/qos_config "the folder of the stores")
add_place(QOS_SCRIPTS /etc/script/qos_config "the folder of the scripts")

# Who changes the stores must be able to open the lock in it, and nobody but root to replace it. It
# must be there, with a file "stores", before the first change after each start of the router.
set(QOS_LOCKS "" CACHE STRING "a folder with the lock of the stores; empty: beside their history")
if(QOS_LOCKS)
	check_place(QOS_LOCKS)
	add_compile_definitions(QOS_LOCKS="${QOS_LOCKS}")
	list(APPEND QOS_MOVED QOS_LOCKS)
endif()

# For what is installed alone: no program has them in it.
set(QOS_INTERFACES /etc/conf/interfaces CACHE STRING "the table of install/sbin/imish")
check_place(QOS_INTERFACES)
set(QOS_GROUP "" CACHE STRING "the pages' group, who may ask qosd; empty: root alone")
if(NOT QOS_GROUP MATCHES "^[A-Za-z0-9_-]*$")
	message(FATAL_ERROR "QOS_GROUP is '${QOS_GROUP}': the name of a group is wanted")
endif()

if(QOS_TESTS AND QOS_MOVED)
	message(FATAL_ERROR "the tests lay out a router with the default places: leave out ${QOS_MOVED}")
endif()
