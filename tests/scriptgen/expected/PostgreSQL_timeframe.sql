SET check_function_bodies = off;
/****************************************************************
 ***                                                          ***
 ***       The Script file was created using                  ***
 ***               KORVO v2.0 professional                    ***
 ***                                                          ***
 ***       Date Created:  dd.mm.yyyy hh:nn:ss                 ***
 ***                                                          ***
 ****************************************************************/


/****************************************************************
 *** Start: Create objects                                    ***
 ****************************************************************/

CREATE OR REPLACE PROCEDURE dbo.usp_new(IN p_a integer, IN p_b character varying)
 LANGUAGE sql
AS $procedure$ SELECT 1 $procedure$;


CREATE OR REPLACE PROCEDURE dbo.usp_ren2(IN p_a integer, IN p_b character varying)
 LANGUAGE sql
AS $procedure$ SELECT 1 $procedure$;


/****************************************************************
 *** End: Create objects                                      ***
 ****************************************************************/


/****************************************************************
 *** Start: Update objects                                    ***
 ****************************************************************/

CREATE OR REPLACE PROCEDURE dbo.usp_old(IN p_a integer, IN p_b character varying)
 LANGUAGE sql
AS $procedure$ SELECT 2 $procedure$;


CREATE OR REPLACE PROCEDURE dbo.usp_later(IN p_a integer, IN p_b character varying)
 LANGUAGE sql
AS $procedure$ SELECT 2 $procedure$;


/****************************************************************
 *** End: Update objects                                      ***
 ****************************************************************/


/****************************************************************
 *** Start: Drop objects                                      ***
 ****************************************************************/

DROP PROCEDURE IF EXISTS dbo.usp_gone(integer, character varying);

DROP PROCEDURE IF EXISTS dbo.usp_ren(integer, character varying);

/****************************************************************
 *** End: Drop objects                                        ***
 ****************************************************************/


