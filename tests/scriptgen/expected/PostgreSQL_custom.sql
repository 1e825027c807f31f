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

CREATE OR REPLACE PROCEDURE dbo.usp_b(IN p_a integer, IN p_b character varying)
 LANGUAGE sql
AS $procedure$ SELECT 1 $procedure$;


CREATE OR REPLACE VIEW dbo.vw_b_base AS
 SELECT 1 AS a;

CREATE OR REPLACE VIEW dbo.vw_a_top AS
 SELECT vw_b_base.a
   FROM dbo.vw_b_base;

/****************************************************************
 *** End: Create objects                                      ***
 ****************************************************************/


